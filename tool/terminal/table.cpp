#include "terminal/table.h"

#include <algorithm>
#include <cwchar>

#include "basics/text.h"

namespace vemra::tool {

std::size_t display_width(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const text_step one = first_step(text);
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

}  // namespace vemra::tool
