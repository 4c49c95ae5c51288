#include "commands/terminal_person.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "basics/failure.h"
#include "files/descriptor.h"
#include "keep/describe.h"
#include "terminal/progress.h"
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

class shown_progress : public shown_work {
public:
    explicit shown_progress(const work& what) : bar_(what.label, what.finished, what.steps) {}

private:
    progress bar_;
};

std::string _attempts(int count) {
    return std::to_string(count) + (count == 1 ? " attempt left" : " attempts left");
}

}  // namespace

void terminal_person::give_password(const device_id& device, secret& password) {
    is_typed_ = false;
    if (!options_.password_file.empty()) {
        read_file(password);
    } else if (options_.password_fd >= 0 && isatty(options_.password_fd) == 0) {
        // What a descriptor gave is gone; the password is for all devices.
        if (!password.empty()) return;
        _read_line(options_.password_fd, "descriptor " + std::to_string(options_.password_fd),
                   password);
    } else {
        ask(device, password);
        is_typed_ = true;
    }
}

void terminal_person::read_file(secret& password) {
    const std::string& path = options_.password_file;
    const descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file.is_open() || fstat(file.get(), &status) != 0) {
        throw failure(exit_code::usage,
                      "the password cannot be read from " + path + ": " + std::strerror(errno));
    }
    if (S_ISREG(status.st_mode) && (status.st_mode & (S_IRGRP | S_IROTH)) != 0) {
        out_.warn("others can read " + path + ": chmod 600 " + path);
    }
    _read_line(file.get(), path, password);
}

void terminal_person::ask(const device_id& device, secret& password) const {
    terminal tty;
    const bool is_on_descriptor = options_.password_fd >= 0;
    if (options_.no_input || (!is_on_descriptor && !tty.is_open())) {
        throw failure(exit_code::usage,
                      "a password is needed: give --password-file or --password-fd");
    }
    const std::string question = "Password of " + describe(device);
    const bool is_answered = is_on_descriptor
                                 ? ask_secret_on(options_.password_fd, question, password)
                                 : tty.ask_secret(question, password);
    if (!is_answered || password.empty()) throw failure(exit_code::usage, "no password was given");
}

bool terminal_person::try_again(int attempts_left) {
    if (!is_typed_) return false;
    output::error("wrong password, " + _attempts(attempts_left));
    if (attempts_left > 1) return true;
    terminal tty;
    return tty.is_open() && tty.confirm("One more wrong password locks the device. Try again?");
}

std::unique_ptr<shown_work> terminal_person::show(const work& what) {
    if (out_.is_quiet()) return nullptr;
    return std::make_unique<shown_progress>(what);
}

bool terminal_person::confirm(const std::string& question, const std::string& option) const {
    terminal tty;
    if (options_.no_input || !tty.is_open()) {
        throw failure(exit_code::usage, "nobody can be asked: give " + option);
    }
    return tty.confirm(question);
}

}  // namespace vemra::tool
