#include "core/log.h"

#include <cstdarg>
#include <cstring>
#include <memory>
#include <string_view>

namespace vemra::app::stamp {

namespace {

using text = std::string_view;

constexpr text before_message = "] ";

constexpr text _begin_of(log_level level) {
    switch (level) {
        case log_level::fatal:
            return " [FATAL]    [";
        case log_level::error:
            return " [ERROR]    [";
        case log_level::debug:
            return " [DEBUG]    [";
        case log_level::verbose:
            break;
    }
    return " [VERBOSE]  [";
}

constexpr text _end_of(log_level level) {
    const bool has_position = level == log_level::fatal || level == log_level::error;
    return has_position ? " (%s:%u)\n" : "\n";
}

inline char* _put(char* at, text piece) {
    std::memcpy(at, piece.data(), piece.size());
    return at + piece.size();
}

// Lines are half the cost of a small stamp. So the format is allocated once, at its full length and
// without zero bytes to begin with, and this is inline: the pieces of known length are then copied
// without a call.
inline void _print(text begin, text function, text message, text end, va_list arguments) {
    const std::unique_ptr<char[]> format(
        new char[begin.size() + function.size() + before_message.size() + message.size() +
                 end.size() + 1]);
    char* at = _put(format.get(), begin);
    at = _put(at, function);
    at = _put(at, before_message);
    at = _put(at, message);
    at = _put(at, end);
    *at = '\0';
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::vprintf(format.get(), arguments);
#pragma GCC diagnostic pop
}

}  // namespace

template <log_level level>
void print_line(text function, text message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(_begin_of(level), function, message, _end_of(level), arguments);
    va_end(arguments);
}

template void print_line<log_level::fatal>(text function, text message, ...);
template void print_line<log_level::error>(text function, text message, ...);
template void print_line<log_level::debug>(text function, text message, ...);
template void print_line<log_level::verbose>(text function, text message, ...);

}  // namespace vemra::app::stamp
