#include "commands/terminal_person.h"

#include <unistd.h>

#include "basics/failure.h"
#include "command_line/input_error.h"
#include "command_line/password_source.h"
#include "command_line/terminal.h"
#include "keep/describe.h"
#include "terminal/progress.h"

namespace vemra::tool {

namespace {

class shown_progress : public shown_work {
public:
    shown_progress(const work& what, pace& run) : bar_(what.label, what.bytes, what.moved, run) {}

private:
    progress bar_;
};

}  // namespace

void terminal_person::give_password(const device_id& device, secret& password) {
    const password_source source{options_.password_file, options_.password_fd, options_.no_input,
                                 ""};
    is_typed_ = false;
    device_ = describe(device);
    try {
        is_typed_ = read_password(source, "Password of " + device_, password,
                                  [this](const std::string& warning) { out_.warn(warning); });
    } catch (const input_error& error) {
        throw failure(exit_code::usage, error.what());
    }
}

bool terminal_person::try_again(int attempts_left) {
    if (!is_typed_) return false;
    output::error("wrong password of " + device_ + ", " + describe_attempts(attempts_left));
    if (attempts_left > 1) return true;
    terminal tty;
    return tty.is_open() &&
           tty.confirm("One more wrong password locks " + device_ + ". Try again?");
}

std::unique_ptr<shown_work> terminal_person::show(const work& what) {
    if (!watches()) return nullptr;
    return std::make_unique<shown_progress>(what, pace_);
}

bool terminal_person::watches() const {
    return !out_.is_quiet() && isatty(STDERR_FILENO) != 0;
}

bool terminal_person::can_be_asked() const {
    return !options_.no_input && terminal().is_open();
}

bool terminal_person::confirm(const std::string& question, const std::string& option) const {
    terminal tty;
    if (options_.no_input || !tty.is_open()) {
        throw failure(exit_code::usage, "not a terminal: give " + option);
    }
    return tty.confirm(question);
}

}  // namespace vemra::tool
