#include "commands/password_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "basics/text.h"
#include "files/descriptor.h"
#include "keep/cause.h"
#include "keep/describe.h"
#include "terminal/terminal.h"

namespace vemra::tool {

namespace {

// A password is a line of text: the device library takes it NUL-terminated.
void _read_line(int number, const std::string& name, secret& password) {
    password.clear();
    for (char byte = 0;;) {
        const ssize_t count = read(number, &byte, 1);
        if (count < 0) {
            throw failure(exit_code::usage,
                          "the password cannot be read from " + name + ": " + std::strerror(errno));
        }
        if (count == 0 || byte == '\n') break;
        if (byte == '\0' || !password.push_back(byte)) {
            throw failure(exit_code::usage, "there is no usable password in " + name);
        }
    }
    if (password.empty()) throw failure(exit_code::usage, "there is no password in " + name);
}

void _read_file(context& run, const std::string& path, secret& password) {
    const descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file.is_open() || fstat(file.get(), &status) != 0) {
        throw failure(exit_code::usage,
                      "the password cannot be read from " + path + ": " + std::strerror(errno));
    }
    if (S_ISREG(status.st_mode) && (status.st_mode & (S_IRGRP | S_IROTH)) != 0) {
        run.out.warn("others can read " + path + ": chmod 600 " + path);
    }
    _read_line(file.get(), path, password);
}

// True when a person typed it and may try again.
bool _read_password(context& run, const device_id& device, secret& password) {
    const common_options& options = run.options;
    const std::string question = "Password of " + describe(device);
    bool is_answered = false;
    if (!options.password_file.empty()) {
        _read_file(run, options.password_file, password);
        return false;
    }
    if (options.password_fd >= 0 && isatty(options.password_fd) == 0) {
        if (password.empty()) {
            _read_line(options.password_fd, "descriptor " + std::to_string(options.password_fd),
                       password);
        }
        return false;
    }
    terminal tty;
    if (options.no_input || (options.password_fd < 0 && !tty.is_open())) {
        throw failure(exit_code::usage,
                      "a password is needed: give --password-file or --password-fd");
    }
    if (options.password_fd >= 0) {
        is_answered = ask_secret_on(options.password_fd, question, password);
    } else {
        is_answered = tty.ask_secret(question, password);
    }
    if (!is_answered || password.empty()) throw failure(exit_code::usage, "no password was given");
    return true;
}

std::string _attempts(int count) {
    return std::to_string(count) + (count == 1 ? " attempt left" : " attempts left");
}

// Throws unless the password was right or, told by -1 and more, merely wrong.
void _require_answer(const password_answer& answer) {
    const std::string cause = printable(cause_of(answer.text.c_str()));
    if (answer.retries == 0) {
        throw failure(exit_code::locked, "the device is locked: " + cause + ", no attempts left",
                      {{"cause", cause}, {"attempts_left", 0}});
    }
    if (answer.retries < 0) {
        throw failure(exit_code::failed, "the password could not be verified: " + cause,
                      {{"cause", cause}});
    }
}

failure _wrong_password(const password_answer& answer) {
    const std::string cause = printable(cause_of(answer.text.c_str()));
    return failure(exit_code::wrong_password,
                   "wrong password, " + _attempts(answer.retries) +
                       "; nothing was changed on this device, which says: " + cause,
                   {{"cause", cause}, {"attempts_left", answer.retries}});
}

}  // namespace

void verify_password(context& run, const device_id& device) {
    session& tokens = run.tokens();
    for (;;) {
        const bool is_typed = _read_password(run, device, tokens.password());
        const password_answer answer = tokens.verify_password(device);
        if (answer.result == 1) return;
        _require_answer(answer);
        if (!is_typed) throw _wrong_password(answer);
        output::error("wrong password, " + _attempts(answer.retries));
        if (answer.retries > 1) continue;
        terminal tty;
        if (!tty.is_open() ||
            !tty.confirm("One more wrong password locks the device. Try again?")) {
            throw _wrong_password(answer);
        }
    }
}

bool confirm(context& run, const std::string& question, const std::string& option) {
    terminal tty;
    if (run.options.no_input || !tty.is_open()) {
        throw failure(exit_code::usage, "nobody can be asked: give " + option);
    }
    return tty.confirm(question);
}

}  // namespace vemra::tool
