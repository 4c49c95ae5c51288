#pragma once

#include <string>
#include <vector>

using text_lines = std::vector<std::string>;

/* Lines of the trace, normalised: PTR for addresses, N for source lines. */

std::string verbose_line(const std::string& function, const std::string& message);
std::string debug_line(const std::string& function, const std::string& message);
/** `file` is one of src/core. */
std::string error_line(const std::string& function, const std::string& message,
                       const std::string& file = "VEMRA_APP_STAMP.cpp");

/** The lines that one exported function prints, from its entry line to its exit line. */
class expected_trace {
public:
    explicit expected_trace(const std::string& function);

    expected_trace& verbose(const std::string& message);
    expected_trace& debug(const std::string& message);
    expected_trace& error(const std::string& message);
    /** An error line of another function, in another file of src/core. */
    expected_trace& error_of(const std::string& function, const std::string& file,
                             const std::string& message);
    operator text_lines() const;

private:
    std::string function_;
    text_lines lines_;
};

/** The text of a device failure of the fake, as log lines tell it. */
std::string failure_text(const std::string& text_and_code, int line);
