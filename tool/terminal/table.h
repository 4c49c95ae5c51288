/** Text in columns, as wide as a terminal shows it. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vemra::tool {

/** Columns that printable text takes on a terminal; wide characters take two. */
std::size_t display_width(std::string_view text);

/** The rows, the first of them the headings, with their columns aligned. */
std::string table(const std::vector<std::vector<std::string>>& rows);

}  // namespace vemra::tool
