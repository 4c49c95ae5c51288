#pragma once

#include <cstdarg>
#include <string>

namespace qo::base {

/**
 * Formats like printf into a string.
 *
 * Kept(format-nul): the result has the right length, but its last character is a NUL; read as a C
 * string it ends one character short. All texts made with it show that.
 *
 * Without memory for the text, and where the C library cannot make it (a wide character that the
 * locale lacks), the result is "Unable to allocate memory to format the string.".
 *
 * A literal 0 as the only argument would mean the second form: pass a variable.
 */
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* fmt, va_list arguments) __attribute__((format(printf, 1, 0)));

/**
 * Length in bytes of the formatted text, its NUL not counted; negative when the C library cannot
 * make the text. `arguments` stays usable.
 */
int _get_need_buffer_size(const char* fmt, va_list arguments) __attribute__((format(printf, 1, 0)));

}  // namespace qo::base
