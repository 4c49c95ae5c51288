#include "command_line/text.h"

#include <utf8.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cwctype>
#include <stdexcept>

namespace vemra {

namespace {

bool _is_control(wchar_t character) {
    return character == 0 || std::iswcntrl(static_cast<std::wint_t>(character)) != 0;
}

bool _is_between(wchar_t one, wchar_t first, wchar_t last) {
    return one >= first && one <= last;
}

// These make a terminal or a browser show what follows in another order.
bool _is_reordering(wchar_t one) {
    return _is_between(one, 0x202a, 0x202e) || _is_between(one, 0x2066, 0x2069);
}

bool _is_invisible(wchar_t one) {
    return _is_reordering(one) || _is_between(one, 0x200b, 0x200f) ||
           _is_between(one, 0x2060, 0x206f) || one == 0xfeff || one == 0xad;
}

std::string _as_number(char byte) {
    std::array<char, 8> shown{};
    std::snprintf(shown.data(), shown.size(), "\\x%02x", static_cast<unsigned char>(byte));
    return shown.data();
}

template <typename Predicate>
bool _any(std::string_view text, Predicate matches) {
    while (!text.empty()) {
        const text_step one = first_step(text);
        if (matches(one.character)) return true;
        text.remove_prefix(one.length);
    }
    return false;
}

}  // namespace

void use_utf8() {
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
        throw std::runtime_error("the locale C.UTF-8 is missing on this machine");
    }
}

text_step first_step(std::string_view text) {
    const char* next = text.data();
    try {
        const auto character = utf8::next(next, text.data() + text.size());
        return {static_cast<std::size_t>(next - text.data()), static_cast<wchar_t>(character)};
    } catch (const utf8::exception&) {
        return {1, std::nullopt};
    }
}

bool is_utf8(std::string_view text) {
    return utf8::is_valid(text.begin(), text.end());
}

bool has_control_characters(std::string_view text) {
    return _any(text, [](const std::optional<wchar_t>& one) { return one && _is_control(*one); });
}

bool has_invisible_characters(std::string_view text) {
    return _any(text, [](const std::optional<wchar_t>& one) { return one && _is_invisible(*one); });
}

std::string printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const text_step one = first_step(text);
        const std::string_view bytes = text.substr(0, one.length);
        if (one.character && !_is_control(*one.character) && !_is_reordering(*one.character)) {
            shown += bytes;
        } else {
            for (const char byte : bytes)
                shown += _as_number(byte);
        }
        text.remove_prefix(one.length);
    }
    return shown;
}

}  // namespace vemra
