#include "basics/text.h"

namespace vemra::tool {

std::string quoted(const std::string& text) {
    return "\"" + printable(text) + "\"";
}

std::string shell_word(const std::string& text) {
    const std::string shown = printable(text);
    constexpr const char* plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_./:,+@%=";
    if (!shown.empty() && shown.find_first_not_of(plain) == std::string::npos) return shown;
    std::string word = "'";
    for (const char letter : shown) {
        word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return word + "'";
}

}  // namespace vemra::tool
