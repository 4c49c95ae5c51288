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

#define VEMRA_LOG_VERBOSE(...) VEMRA_LOG_VERBOSE_AS(__func__, __VA_ARGS__)
#define VEMRA_LOG_DEBUG(...) VEMRA_LOG_DEBUG_AS(__func__, __VA_ARGS__)
#define VEMRA_LOG_ERROR(...) VEMRA_LOG_ERROR_AS(__func__, __VA_ARGS__)
#define VEMRA_LOG_FATAL(...) VEMRA_LOG_WITH_POSITION(fatal, __func__, __VA_ARGS__)

#define VEMRA_LOG_VERBOSE_AS(function, ...) VEMRA_LOG(verbose, function, __VA_ARGS__)
#define VEMRA_LOG_DEBUG_AS(function, ...) VEMRA_LOG(debug, function, __VA_ARGS__)
#define VEMRA_LOG_ERROR_AS(function, ...) VEMRA_LOG_WITH_POSITION(error, function, __VA_ARGS__)

#define VEMRA_LOG(level, function, ...) \
    (VEMRA_CHECK_FORMAT(__VA_ARGS__),   \
     vemra::app::stamp::print_line<vemra::app::stamp::log_level::level>(function, __VA_ARGS__))
#define VEMRA_LOG_WITH_POSITION(level, function, ...)                    \
    (VEMRA_CHECK_FORMAT(__VA_ARGS__),                                    \
     vemra::app::stamp::print_line<vemra::app::stamp::log_level::level>( \
         function, __VA_ARGS__, VEMRA_SOURCE_FILE, static_cast<unsigned int>(__LINE__)))
// Lets the compiler compare the message with its arguments; nothing is printed here.
#define VEMRA_CHECK_FORMAT(...) static_cast<void>(sizeof(std::printf(__VA_ARGS__)))

namespace vemra::app::stamp {

enum class log_level { fatal, error, debug, verbose };

/**
 * The operation behind the macros: one for each level. The last two arguments of an error or fatal
 * line are the source file and line. It takes views because the compiler then counts the characters
 * of the macros' constants, not the running program.
 */
template <log_level level>
void print_line(std::string_view function, std::string_view message, ...);

}  // namespace vemra::app::stamp
