#include "keep/selector.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "basics/hex.h"
#include "basics/text.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

constexpr std::string_view name_prefix = "name:";
constexpr std::size_t shortest_prefix = 8;

std::string _lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

std::string _uuid_prefix(const std::string& selector) {
    const bool is_hex = std::all_of(selector.begin(), selector.end(),
                                    [](unsigned char digit) { return std::isxdigit(digit) != 0; });
    if (!is_hex || selector.size() < shortest_prefix) {
        throw failure(exit_code::usage,
                      quoted(selector) +
                          " selects nothing: give a uuid, at least 8 digits of one, or name:TEXT");
    }
    return _lower(selector);
}

std::vector<const named_stamp*> _candidates(const std::vector<named_stamp>& stamps,
                                            const std::string& selector) {
    const bool by_name = selector.rfind(name_prefix, 0) == 0;
    const std::string wanted =
        by_name ? selector.substr(name_prefix.size()) : _uuid_prefix(selector);
    std::vector<const named_stamp*> found;
    for (const named_stamp& one : stamps) {
        const bool is_match = by_name ? one.name == wanted : to_hex(one.uuid).rfind(wanted, 0) == 0;
        if (is_match) found.push_back(&one);
    }
    return found;
}

[[noreturn]] void _throw_none(const std::vector<device_id>& unknown, const std::string& selector) {
    const std::string none = "no stamp is selected by " + quoted(selector);
    if (unknown.empty()) throw failure(exit_code::no_stamp, none);
    throw failure(exit_code::failed,
                  none + ", but what " + describe(unknown.front()) + " holds is not known");
}

}  // namespace

const named_stamp& select_stamp(const std::vector<named_stamp>& stamps,
                                const std::vector<device_id>& unknown,
                                const std::string& selector) {
    const std::vector<const named_stamp*> found = _candidates(stamps, selector);
    if (found.size() == 1) return *found.front();
    if (found.empty()) _throw_none(unknown, selector);
    std::string message = "several stamps are selected by " + quoted(selector) + ":";
    std::vector<named_stamp> candidates;
    for (const named_stamp* one : found) {
        message += "\n  " + describe(*one);
        candidates.push_back(*one);
    }
    throw ambiguous_selector(message, std::move(candidates));
}

}  // namespace vemra::tool
