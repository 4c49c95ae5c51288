#include "core/log.h"

#include <cstdarg>
#include <cstring>
#include <memory>
#include <string_view>

namespace vemra::app::stamp {

namespace {

using text = std::string_view;

constexpr text fatal_begin = " [FATAL]    [";
constexpr text error_begin = " [ERROR]    [";
constexpr text debug_begin = " [DEBUG]    [";
constexpr text verbose_begin = " [VERBOSE]  [";
constexpr text before_message = "] ";

constexpr text no_location = "\n";
constexpr text location = " (%s:%u)\n";

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

void log_verbose(text function, text message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(verbose_begin, function, message, no_location, arguments);
    va_end(arguments);
}

void log_debug(text function, text message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(debug_begin, function, message, no_location, arguments);
    va_end(arguments);
}

void log_error(text function, text message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(error_begin, function, message, location, arguments);
    va_end(arguments);
}

void log_fatal(text function, text message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(fatal_begin, function, message, location, arguments);
    va_end(arguments);
}

}  // namespace vemra::app::stamp
