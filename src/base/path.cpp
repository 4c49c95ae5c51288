#include "base/path.h"

#include <cstddef>
#include <iterator>

namespace qo::base {

namespace {

constexpr char separators[] = "/\\";

std::list<std::string> _split(const std::string& text) {
    if (text.empty()) return {std::string()};

    std::list<std::string> components;
    std::size_t start = 0;
    for (std::size_t k = text.find_first_of(separators); k != std::string::npos;
         k = text.find_first_of(separators, k + 1)) {
        // Kept(path-split): a separator at the start of a component stays part of it.
        if (start >= k) continue;
        components.push_back(text.substr(start, k - start));
        start = k + 1;
    }
    // Kept(path-split): a single last character is dropped.
    if (text.size() - 1 > start) components.push_back(text.substr(start));
    return components;
}

}  // namespace

path::path(const std::string& text) : components_(_split(text)) {}

path::path(std::list<std::string>::const_iterator first,
           std::list<std::string>::const_iterator last)
    : components_(first, last) {}

std::string path::root_name() const {
    return components_.empty() ? std::string() : components_.front();
}

std::string path::base_name() const {
    return components_.empty() ? std::string() : components_.back();
}

std::string path::suffix() const {
    const std::string name = base_name();
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

path path::parent() const {
    if (components_.empty()) return path();
    return path(components_.begin(), std::prev(components_.end()));
}

bool path::has_parent() const {
    return components_.size() > 1;
}

std::string path::dir_name() const {
    return parent().base_name();
}

path path::join(const std::string& text) const {
    path joined(*this);
    joined.components_.splice(joined.components_.end(), _split(text));
    return joined;
}

std::string path::to_string(const style_t& style) const {
    const char separator = style == style_t::slash ? '/' : '\\';
    std::string text;
    for (const std::string& component : components_) {
        text += component;
        text += separator;
    }
    if (!text.empty()) text.pop_back();
    return text;
}

bool path::operator==(const path& other) const {
    return components_ == other.components_;
}

}  // namespace qo::base
