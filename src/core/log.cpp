#include "core/log.h"

#include <cstdarg>
#include <cstring>
#include <string>

namespace vemra::app::stamp {

namespace {

constexpr const char* fatal_prefix = " [FATAL]   ";
constexpr const char* error_prefix = " [ERROR]   ";
constexpr const char* debug_prefix = " [DEBUG]   ";
constexpr const char* verbose_prefix = " [VERBOSE] ";

constexpr const char* no_location = "\n";
constexpr const char* location = " (%s:%u)\n";

void _print(const char* prefix, const char* function, const char* message, const char* end,
            va_list arguments) {
    std::string format;
    format.reserve(std::strlen(prefix) + std::strlen(function) + std::strlen(message) +
                   std::strlen(location) + 4);
    format += prefix;
    format += " [";
    format += function;
    format += "] ";
    format += message;
    format += end;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::vprintf(format.c_str(), arguments);
#pragma GCC diagnostic pop
}

}  // namespace

void log_verbose(const char* function, const char* message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(verbose_prefix, function, message, no_location, arguments);
    va_end(arguments);
}

void log_debug(const char* function, const char* message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(debug_prefix, function, message, no_location, arguments);
    va_end(arguments);
}

void log_error(const char* function, const char* message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(error_prefix, function, message, location, arguments);
    va_end(arguments);
}

void log_fatal(const char* function, const char* message, ...) {
    va_list arguments;
    va_start(arguments, message);
    _print(fatal_prefix, function, message, location, arguments);
    va_end(arguments);
}

}  // namespace vemra::app::stamp
