#include "command_line/password_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "command_line/descriptor.h"
#include "command_line/input_error.h"
#include "command_line/terminal.h"

namespace vemra {

namespace {

[[noreturn]] void _cannot_read(const std::string& name) {
    throw input_error("the password cannot be read from " + name + ": " + std::strerror(errno));
}

// Byte by byte, so that nothing after the line is taken from a shared descriptor.
void _read_line(int number, const std::string& name, secret& password) {
    password.clear();
    for (char byte = 0;;) {
        const ssize_t count = read(number, &byte, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) _cannot_read(name);
        if (count == 0 || byte == '\n') break;
        if (!password.push_back(byte)) {
            throw input_error("the first line of " + name + " is longer than " +
                              std::to_string(secret::longest) + " bytes: that is no password");
        }
    }
    if (password.empty()) {
        throw input_error("there is no password in " + name + ": its first line is empty");
    }
    // Trying it would cost an attempt, and taking the byte off might be wrong.
    if (password.view().back() == '\r') {
        throw input_error("the first line of " + name +
                          " ends with a carriage return, as Windows ends lines; remove it. No "
                          "password was tried");
    }
    // The device library takes it up to the first zero byte.
    if (password.view().find('\0') != std::string_view::npos) {
        throw input_error("the first line of " + name +
                          " has a zero byte, which no password can have");
    }
}

void _read_file(const std::string& path, secret& password,
                const std::function<void(const std::string&)>& warn) {
    const descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (!file.is_open() || fstat(file.get(), &status) != 0) _cannot_read(path);
    if (S_ISREG(status.st_mode) && (status.st_mode & (S_IRGRP | S_IROTH)) != 0) {
        warn("others can read " + path + ": chmod 600 " + path);
    }
    _read_line(file.get(), path, password);
}

bool _ask(const password_source& source, const std::string& question, secret& password) {
    if (source.descriptor >= 0) return ask_secret_on(source.descriptor, question, password);
    return terminal().ask_secret(question, password);
}

}  // namespace

bool read_password(const password_source& source, const std::string& question, secret& password,
                   const std::function<void(const std::string&)>& warn) {
    if (!source.file.empty()) {
        _read_file(source.file, password, warn);
        return false;
    }
    if (source.descriptor >= 0 && isatty(source.descriptor) == 0) {
        if (password.empty()) {
            _read_line(source.descriptor, "descriptor " + std::to_string(source.descriptor),
                       password);
        }
        return false;
    }
    if (source.no_input || (source.descriptor < 0 && !terminal().is_open())) {
        const std::string option = "--" + source.option_prefix + "password-";
        throw input_error("a password is needed: give " + option + "file or " + option + "fd");
    }
    if (!_ask(source, question, password) || password.empty()) {
        throw input_error("no password was given");
    }
    return true;
}

}  // namespace vemra
