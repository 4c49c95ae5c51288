/**
 * Text as people and terminals see it. UTF-8 throughout, as UTF8-CPP reads it for input and output
 * alike: up to U+10FFFF, without surrogates and overlong forms. Needs use_utf8() first.
 */
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vemra {

/** Makes the classes and widths of characters known, whatever the user's locale is. */
void use_utf8();

/** One step through a text: a character, or one byte that belongs to none. */
struct text_step {
    std::size_t length;
    std::optional<wchar_t> character;
};

/** The first step of a text, which must not be empty. */
text_step first_step(std::string_view text);

/** Whether every byte belongs to a character. The one validator, for who stores and who prints. */
bool is_utf8(std::string_view text);
/** NUL, tabs and line ends among them. */
bool has_control_characters(std::string_view text);
/** Characters that change how the text around them is shown, or that show nothing. */
bool has_invisible_characters(std::string_view text);

/**
 * The text with stray bytes, control characters and those that change the order of the others as
 * \xNN: safe to show on a terminal.
 */
std::string printable(std::string_view text);

}  // namespace vemra
