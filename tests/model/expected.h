#pragma once

#include <string>
#include <vector>

using text_lines = std::vector<std::string>;

/**
 * What a call of an exported function must return and print: whole lines, with PTR for addresses
 * and N for source lines.
 */
class expected {
public:
    explicit expected(const std::string& function);

    expected& verbose(const std::string& message);
    /** An input line; `name` carries the blanks that line the colons up. */
    expected& input(const std::string& name, const std::string& value);
    expected& debug(const std::string& message);
    expected& error(const std::string& message);
    /** An error line of another function, in another file of src/core. */
    expected& error_of(const std::string& function, const std::string& file,
                       const std::string& message);
    /** The call ends with this status. */
    expected& returns(int status);

    int status = 1;
    text_lines lines;

private:
    std::string function_;
};

/** The text of a device failure, as log lines tell it. */
std::string failure_text(const std::string& text_and_code, int line);

/** Lower-case digits. */
std::string hex_text(const std::string& bytes);
