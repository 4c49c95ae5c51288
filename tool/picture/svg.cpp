#include "picture/formats.h"

namespace vemra::tool {

namespace {

constexpr const char* blanks = " \t\r\n";

bool _ends_with(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string_view _without_blanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

// Comments and instructions may follow the end tag.
std::string_view _without_what_may_follow(std::string_view text) {
    for (;;) {
        text = _without_blanks(text);
        const bool is_comment = _ends_with(text, "-->");
        if (!is_comment && !_ends_with(text, "?>")) return text;
        const std::size_t start = text.rfind(is_comment ? "<!--" : "<?");
        if (start == std::string_view::npos) return text;
        text = text.substr(0, start);
    }
}

bool _ends_with_end_tag(std::string_view text) {
    if (!_ends_with(text, ">")) return false;
    const std::size_t start = text.rfind('<');
    if (start == std::string_view::npos) return false;
    const std::string_view tag = _without_blanks(text.substr(start, text.size() - start - 1));
    if (tag.substr(0, 2) != "</") return false;
    // A prefix may stand before the name.
    return tag == "</svg" || _ends_with(tag, ":svg");
}

bool _is_utf_16(std::string_view text) {
    return text.substr(0, 2) == "\xff\xfe" || text.substr(0, 2) == "\xfe\xff";
}

}  // namespace

void check_svg(const file_bytes& file) {
    if (_is_utf_16(file.all())) return;
    if (_ends_with_end_tag(_without_what_may_follow(file.all()))) return;
    throw picture_damage("the file does not end with the end of its svg element");
}

}  // namespace vemra::tool
