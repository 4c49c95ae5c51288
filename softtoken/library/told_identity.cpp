#include "library/told_identity.h"

#include <algorithm>

namespace vemra::softtoken {

namespace {

// In ASCII, whatever the locale.
char _in_other_case(char letter) {
    const bool is_letter = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
    return is_letter ? static_cast<char>(letter ^ 0x20) : letter;
}

}  // namespace

int told_type(const token_info& info, const personality& rules) {
    return static_cast<int>(rules.type_told.value_or(info.type));
}

std::string told_serial_number(const token_info& info, const personality& rules,
                               unsigned int calls_before) {
    std::string told = rules.serial_told.value_or(info.serial_number);
    if (rules.serial_case == letter_case::changing && calls_before % 2 == 1) {
        std::transform(told.begin(), told.end(), told.begin(), _in_other_case);
    }
    if (rules.serial_padding != text_padding::none) {
        const char filling = rules.serial_padding == text_padding::blanks ? ' ' : '\0';
        told.resize(std::max(told.size(), static_cast<std::size_t>(rules.serial_length)), filling);
    }
    return told;
}

}  // namespace vemra::softtoken
