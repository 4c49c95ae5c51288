#include "command_line/open_descriptor.h"

#include <fcntl.h>

#include <charconv>
#include <string>

namespace vemra {

namespace {

// What a program was started with is never closed on exec; what it opened itself always is.
bool _is_given(const std::string& text) {
    int number = -1;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end) return false;
    const int flags = fcntl(number, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) == 0;
}

}  // namespace

CLI::Validator open_descriptor() {
    return CLI::Validator(
        [](const std::string& text) {
            return _is_given(text) ? "" : "descriptor " + text + " is not open";
        },
        "");
}

}  // namespace vemra
