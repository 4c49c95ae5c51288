/** Text as people and terminals see it. UTF-8 throughout; needs use_utf8() first. */
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemra::tool {

/** Makes the functions here read UTF-8, whatever the user's locale is. */
void use_utf8();

bool is_utf8(std::string_view text);
bool has_control_characters(std::string_view text);
/** Characters that change how the text around them is shown, or that show nothing. */
bool has_invisible_characters(std::string_view text);

/**
 * The text with stray bytes, control characters and those that change the order of the others as
 * \xNN: safe to show on a terminal.
 */
std::string printable(std::string_view text);
/** Columns that printable text takes on a terminal; wide characters take two. */
std::size_t display_width(std::string_view text);
/** The rows, the first of them the headings, with their columns aligned. */
std::string table(const std::vector<std::vector<std::string>>& rows);

std::string to_hex(std::string_view bytes);
/** Nothing when the text is not an even number of hexadecimal digits. */
std::optional<std::string> from_hex(std::string_view digits);

}  // namespace vemra::tool
