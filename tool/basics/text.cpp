#include "basics/text.h"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <cwctype>
#include <stdexcept>

#include "base/hex.h"

namespace vemra::tool {

namespace {

// One step through a text: a character, or one byte that belongs to none.
struct step {
    std::size_t length;
    std::optional<wchar_t> character;
};

step _next(std::string_view text) {
    if (text.front() == '\0') return {1, L'\0'};
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (length == 0 || length > text.size()) return {1, std::nullopt};
    return {length, character};
}

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

template <typename Predicate>
bool _any(std::string_view text, Predicate matches) {
    while (!text.empty()) {
        const step one = _next(text);
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

bool is_utf8(std::string_view text) {
    return !_any(text, [](const std::optional<wchar_t>& one) { return !one; });
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
        const step one = _next(text);
        const std::string_view bytes = text.substr(0, one.length);
        if (one.character && !_is_control(*one.character) && !_is_reordering(*one.character)) {
            shown += bytes;
        } else {
            for (const char byte : bytes) {
                shown += "\\x" + to_hex(std::string_view(&byte, 1));
            }
        }
        text.remove_prefix(one.length);
    }
    return shown;
}

std::size_t display_width(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const step one = _next(text);
        if (one.character)
            columns += static_cast<std::size_t>(std::max(0, wcwidth(*one.character)));
        text.remove_prefix(one.length);
    }
    return columns;
}

std::string table(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], display_width(row[i]));
        }
    }
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += row[i];
            if (i + 1 < row.size()) text.append(widths[i] - display_width(row[i]) + 2, ' ');
        }
        text += '\n';
    }
    return text;
}

std::string to_hex(std::string_view bytes) {
    return qo::base::codec::hex::encode(bytes.data(), bytes.size(), false);
}

std::optional<std::string> from_hex(std::string_view digits) {
    if (digits.size() % 2 != 0) return std::nullopt;
    const auto is_digit = [](unsigned char digit) { return std::isxdigit(digit) != 0; };
    if (!std::all_of(digits.begin(), digits.end(), is_digit)) return std::nullopt;
    const auto bytes = qo::base::codec::hex::decode(std::string(digits));
    return std::string(bytes.begin(), bytes.end());
}

}  // namespace vemra::tool
