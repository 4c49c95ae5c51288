// A path's parts are those of a second, independent splitter, for any text.

#include "base/path.h"

#include <list>

#include "fuzz_support.h"

using qo::base::path;

namespace {

// A separator ends a component unless it stands at the component's start; a last component of one
// character is dropped.
std::list<std::string> _components(const std::string& text) {
    if (text.empty()) return {""};
    std::list<std::string> result;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = text.find_first_of("/\\", start + 1);
        if (end == std::string::npos) break;
        result.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    if (start + 1 < text.size()) result.push_back(text.substr(start));
    return result;
}

std::string _joined(const std::list<std::string>& components, const std::string& separator) {
    std::string text;
    for (const std::string& component : components)
        text += (&component == &components.front() ? "" : separator) + component;
    return text;
}

std::string _suffix(const std::string& name) {
    const std::size_t dot = name.find_last_of('.');
    return dot == std::string::npos ? "" : name.substr(dot + 1);
}

void _compare(const path& actual, const std::list<std::string>& wanted) {
    const std::string base = wanted.empty() ? "" : wanted.back();
    claim(actual.root_name() == (wanted.empty() ? "" : wanted.front()), "the root is the first");
    claim(actual.base_name() == base, "the base is the last");
    claim(actual.suffix() == _suffix(base), "the suffix follows the last dot");
    claim(actual.has_parent() == (wanted.size() > 1), "two components have a parent");
    claim(actual == path(wanted.begin(), wanted.end()), "equal components, equal paths");
    claim(std::string(actual) == _joined(wanted, "/"), "joined with slashes");
    claim(actual.to_string(path::style_t::backslash) == _joined(wanted, "\\"),
          "joined with backslashes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    const std::string first = input.text();
    const std::string second = input.rest();
    std::list<std::string> components = _components(first);
    const path whole(first);
    _compare(whole, components);

    std::list<std::string> more = _components(second);
    std::list<std::string> all = components;
    all.splice(all.end(), more);
    _compare(whole.join(second), all);

    if (!components.empty()) components.pop_back();
    _compare(whole.parent(), components);
    claim(whole.dir_name() == (components.empty() ? "" : components.back()),
          "the folder is the parent's base");
    return 0;
}
