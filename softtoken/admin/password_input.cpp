#include "admin/password_input.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "admin/arguments.h"

namespace vemra::softtoken::admin {

namespace {

constexpr std::size_t longest_password = 1024;

volatile std::sig_atomic_t _interruption = 0;

void _note_interruption(int number) {
    _interruption = number;
}

// While it lives, signals that would end the program only end the reading.
class held_interruptions {
public:
    held_interruptions() {
        struct sigaction noting {};
        noting.sa_handler = _note_interruption;
        for (std::size_t i = 0; i < signals.size(); ++i) {
            sigaction(signals[i], nullptr, &before_[i]);
            if (before_[i].sa_handler != SIG_IGN) sigaction(signals[i], &noting, nullptr);
        }
    }
    ~held_interruptions() {
        for (std::size_t i = 0; i < signals.size(); ++i)
            sigaction(signals[i], &before_[i], nullptr);
    }
    held_interruptions(const held_interruptions&) = delete;
    held_interruptions& operator=(const held_interruptions&) = delete;

private:
    static constexpr std::array<int, 4> signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::array<struct sigaction, signals.size()> before_{};
};

// Byte by byte, so that nothing after the line is taken from a shared descriptor.
std::string _read_line(int descriptor, const std::string& source) {
    std::string line;
    for (;;) {
        char byte = 0;
        ssize_t got = ::read(descriptor, &byte, 1);
        if (got < 0 && errno == EINTR && _interruption == 0) continue;
        if (_interruption != 0) return {};
        if (got < 0) {
            throw command_failure(exit_failed, "cannot read the password from " + source + ": " +
                                                   std::strerror(errno));
        }
        if (got == 0 || byte == '\n') return line;
        line += byte;
        if (line.size() > longest_password) {
            throw command_failure(exit_failed, "the first line of " + source + " is longer than " +
                                                   std::to_string(longest_password) +
                                                   " bytes: that is no password");
        }
    }
}

// The terminal does not show what is typed while this lives.
class silent_terminal {
public:
    explicit silent_terminal(int descriptor) : descriptor_(descriptor) {
        tcgetattr(descriptor_, &before_);
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(descriptor_, TCSAFLUSH, &silent);
    }
    ~silent_terminal() { tcsetattr(descriptor_, TCSAFLUSH, &before_); }
    silent_terminal(const silent_terminal&) = delete;
    silent_terminal& operator=(const silent_terminal&) = delete;

private:
    int descriptor_;
    termios before_{};
};

std::string _prompt(const std::string& text) {
    int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (terminal < 0) {
        throw command_failure(exit_usage,
                              "no terminal to ask for the password on: give a --password-file or "
                              "--password-fd option");
    }
    std::string line;
    {
        held_interruptions held;
        silent_terminal silent(terminal);
        dprintf(terminal, "%s: ", text.c_str());
        line = _read_line(terminal, "the terminal");
    }
    dprintf(terminal, "\n");
    close(terminal);
    // The terminal shows what is typed again: now the program may end.
    if (_interruption != 0) raise(_interruption);
    return line;
}

}  // namespace

void password_input::add_to(CLI::App& command) {
    auto* file = command.add_option("--" + prefix_ + "password-file", file_,
                                    "Take the " + what_ + " from the first line of this file");
    auto* descriptor =
        command.add_option("--" + prefix_ + "password-fd", descriptor_,
                           "Take the " + what_ + " from the first line of this open descriptor");
    descriptor->check(CLI::NonNegativeNumber);
    file->excludes(descriptor);
}

std::string password_input::from_file_or_descriptor() const {
    if (file_.empty()) {
        return _read_line(descriptor_, "descriptor " + std::to_string(descriptor_));
    }
    int file = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        throw command_failure(
            exit_failed, "cannot open the password file " + file_ + ": " + std::strerror(errno));
    }
    std::string line = _read_line(file, file_);
    close(file);
    return line;
}

std::string password_input::read() const {
    return is_given() ? from_file_or_descriptor() : _prompt(what_);
}

std::string password_input::read_new() const {
    std::string password = read();
    if (password.empty()) {
        throw command_failure(exit_usage,
                              "the " + what_ + " is empty: give at least one character");
    }
    if (password.find('\0') != std::string::npos) {
        throw command_failure(exit_usage, "the " + what_ +
                                              " has a zero byte, which no program "
                                              "could ever give: use printable text");
    }
    if (!is_given() && _prompt(what_ + ", again") != password) {
        throw command_failure(exit_usage, "the two entries differ: nothing was changed");
    }
    return password;
}

}  // namespace vemra::softtoken::admin
