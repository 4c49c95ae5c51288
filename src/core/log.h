#pragma once

#include <cstdio>
#include <string_view>

/*
 * The trace: one line per event on standard output, printed at once with a single printf, never
 * filtered. Each macro takes a message, a printf format without a percent sign of its own, and
 * its arguments. The line names the function that logs; the _AS forms name another, for the steps
 * of exported functions. Error and fatal lines end in their source position, whose path from the
 * root of the project the build defines: VEMRA_SOURCE_FILE.
 *
 * A line that cannot be built for lack of memory throws std::bad_alloc.
 */

#define LOG_VERBOSE(...) LOG_VERBOSE_AS(__func__, __VA_ARGS__)
#define LOG_DEBUG(...) LOG_DEBUG_AS(__func__, __VA_ARGS__)
#define LOG_ERROR(...) LOG_ERROR_AS(__func__, __VA_ARGS__)
#define LOG_FATAL(...)          \
    (CHECK_FORMAT(__VA_ARGS__), \
     vemra::app::stamp::log_fatal(__func__, __VA_ARGS__, VEMRA_SOURCE_FILE, SOURCE_LINE))

#define LOG_VERBOSE_AS(function, ...) \
    (CHECK_FORMAT(__VA_ARGS__), vemra::app::stamp::log_verbose(function, __VA_ARGS__))
#define LOG_DEBUG_AS(function, ...) \
    (CHECK_FORMAT(__VA_ARGS__), vemra::app::stamp::log_debug(function, __VA_ARGS__))
#define LOG_ERROR_AS(function, ...) \
    (CHECK_FORMAT(__VA_ARGS__),     \
     vemra::app::stamp::log_error(function, __VA_ARGS__, VEMRA_SOURCE_FILE, SOURCE_LINE))

#define SOURCE_LINE static_cast<unsigned int>(__LINE__)
// Lets the compiler compare the message with its arguments; nothing is printed here.
#define CHECK_FORMAT(...) static_cast<void>(sizeof(std::printf(__VA_ARGS__)))

namespace vemra::app::stamp {

/*
 * The operations behind the macros. They take views because the compiler then counts the characters
 * of the macros' constants, not the running program.
 */

void log_verbose(std::string_view function, std::string_view message, ...);
void log_debug(std::string_view function, std::string_view message, ...);
/* The last two arguments are the source file and line. */
void log_error(std::string_view function, std::string_view message, ...);
void log_fatal(std::string_view function, std::string_view message, ...);

}  // namespace vemra::app::stamp
