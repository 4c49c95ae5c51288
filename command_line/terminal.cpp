#include "command_line/terminal.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <stdexcept>

#include "command_line/input_error.h"
#include "command_line/interruption.h"

namespace vemra {

namespace {

void _say(int descriptor, const std::string& text) {
    if (write_all(descriptor, text)) return;
    throw std::runtime_error("the terminal cannot be written");
}

}  // namespace

terminal::terminal() : device_(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {}

bool terminal::confirm(const std::string& question) {
    _say(device_.get(), question + " [y/N] ");
    std::string answer;
    bool is_line = false;
    for (char byte = 0; !is_line && read(device_.get(), &byte, 1) == 1;) {
        is_line = byte == '\n';
        answer += byte;
    }
    return is_line && (answer.front() == 'y' || answer.front() == 'Y');
}

bool terminal::ask_secret(const std::string& question, secret& answer) {
    return ask_secret_on(device_.get(), question, answer);
}

bool ask_secret_on(int descriptor, const std::string& question, secret& answer) {
    termios original{};
    if (tcgetattr(descriptor, &original) != 0) {
        throw std::runtime_error("the terminal's echo cannot be turned off");
    }
    bool is_line = false;
    {
        termios silent = original;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
        const std::string shown = question + ": ";
        const interruption::terminal_settings restored(descriptor, original, silent, shown);
        _say(descriptor, shown);
        answer.clear();
        bool fits = true;
        for (char byte = 0;;) {
            if (restored.wait_for_answer()) answer.clear();
            if (read(descriptor, &byte, 1) != 1) break;
            is_line = byte == '\n';
            if (is_line) break;
            fits = answer.push_back(byte) && fits;
        }
        if (!fits) throw input_error("the password is too long");
    }
    _say(descriptor, "\n");
    return is_line;
}

}  // namespace vemra
