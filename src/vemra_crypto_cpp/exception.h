#pragma once

#include <stdexcept>
#include <string>

namespace vemra::crypto {

/**
 * A failure of the device library. what() reads "TEXT(CODE. (at FILE:LINE": the library's text
 * for the code, the code, and the throw site.
 *
 * Kept(format-nul): both closing parentheses are lost, because qo::base::format ends each text in
 * a NUL.
 *
 * The constructors do not throw: if the message cannot be built, the process ends.
 */
class exception : public std::runtime_error {
public:
    /** The code is the library's last error. */
    exception(const char* file, const unsigned long& line) noexcept;
    exception(const char* file, const unsigned long& line, int code) noexcept;

    /** "TEXT(CODE" and a NUL in place of the closing parenthesis. */
    static std::string get_error_message(int code);
    /** The same for the library's last error. */
    static std::string get_last_error_message();
};

}  // namespace vemra::crypto
