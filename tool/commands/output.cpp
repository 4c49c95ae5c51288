#include "commands/output.h"

#include <unistd.h>

#include <cerrno>

#include "basics/failure.h"
#include "command_line/descriptor.h"
#include "command_line/lost_output.h"

namespace vemra::tool {

namespace {

// Standard error is the last resort: when it is gone there is nobody to tell.
void _say(const std::string& text) {
    static_cast<void>(write_all(STDERR_FILENO, "vemra-stamp: " + text + "\n"));
}

}  // namespace

bool output::is_terminal() const {
    return isatty(descriptor_) != 0;
}

void output::print(std::string_view text) {
    if (!json_) write(text);
}

void output::write(std::string_view bytes) {
    if (write_all(descriptor_, bytes)) return;
    broken_ = true;
    throw failure(exit_code::failed, lost_output(errno, done_).what());
}

void output::note(const std::string& text) const {
    if (!quiet_) _say(text);
}

void output::done(const std::string& text) {
    remember(text);
    note(text);
}

void output::detail(const std::string& text) const {
    if (verbose_) _say(text);
}

void output::warn(const std::string& text) {
    warnings_.push_back(text);
    if (!quiet_) _say("warning: " + text);
}

void output::error(const std::string& text) {
    _say(text);
}

}  // namespace vemra::tool
