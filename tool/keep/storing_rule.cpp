#include "keep/storing_rule.h"

#include <algorithm>
#include <utility>

#include "basics/text.h"
#include "files/file.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

// Why a name does not survive the mapping or misleads readers; empty for a good one.
std::string _fault_of_name(const std::string& name) {
    if (name.empty()) return "is empty";
    if (!is_utf8(name)) return "is not UTF-8";
    if (has_control_characters(name)) return "has control characters in it";
    if (name.find('&') != std::string::npos || name.find("||") != std::string::npos) {
        return "has \"&\" or \"||\" in it, which a device cannot keep in a name";
    }
    return "";
}

std::string _fault_of_bytes(session& tokens, const shared_bytes& data) {
    if (data.empty()) return "the stamp has no bytes";
    if (data.size() > most_stamp_bytes) {
        return "the stamp has more than " + std::to_string(most_stamp_bytes) + " bytes";
    }
    if (tokens.ask([&](token_reader& all) { return all.is_sealed(data.get()); })) {
        return "these bytes mark a sealed slot and would not be listed as a stamp";
    }
    return "";
}

bool _is_waived(objection::kind what, const allowance& waived) {
    return (what == objection::kind::no_picture && waived.any_data) ||
           (what == objection::kind::used_name && waived.used_name);
}

}  // namespace

offer make_offer(std::optional<std::string> name, std::optional<shared_bytes> data) {
    offer made{std::move(name), std::move(data), {}};
    if (made.data) made.seen = look_at(made.data->get());
    return made;
}

std::vector<objection> objections_to(session& tokens, const offer& offered,
                                     const std::vector<named_stamp>& others) {
    std::vector<objection> found;
    if (offered.name) {
        const std::string fault = _fault_of_name(*offered.name);
        if (!fault.empty()) {
            found.push_back(
                {objection::kind::forbidden, "the name " + quoted(*offered.name) + " " + fault});
        }
    }
    if (offered.data) {
        const std::string fault = _fault_of_bytes(tokens, *offered.data);
        if (!fault.empty()) found.push_back({objection::kind::forbidden, fault});
        if (offered.seen.is_damaged()) {
            found.push_back(
                {objection::kind::no_picture, "the picture is damaged: " + offered.seen.damage});
        } else if (!offered.seen.is_image()) {
            found.push_back(
                {objection::kind::no_picture, "this is no picture but " + offered.seen.media_type});
        }
    }
    const auto used = std::find_if(others.begin(), others.end(), [&](const named_stamp& one) {
        return offered.name && one.name == *offered.name;
    });
    if (used != others.end()) {
        found.push_back({objection::kind::used_name, "a stamp on " + describe(used->device) +
                                                         " has the name " + quoted(*offered.name) +
                                                         " already"});
    }
    return found;
}

void require_storable(session& tokens, const offer& offered, const std::vector<named_stamp>& others,
                      const allowance& waived) {
    for (const objection& one : objections_to(tokens, offered, others)) {
        if (!_is_waived(one.what, waived)) throw refused_offer(one);
    }
}

std::string doubt_about(const std::string& name) {
    if (name.empty()) return "is empty";
    if (!is_utf8(name)) return "is not UTF-8";
    if (has_control_characters(name)) return "has control characters in it";
    if (has_invisible_characters(name)) return "has invisible characters in it";
    if (name.front() == ' ' || name.back() == ' ') return "begins or ends with a space";
    return "";
}

void warn_of_doubts(person& served, const offer& offered) {
    const std::string doubt = offered.name ? doubt_about(*offered.name) : "";
    if (!doubt.empty()) served.warn("the name " + quoted(*offered.name) + " " + doubt);
    if (offered.seen.transparent == picture::transparency::no) {
        served.warn("the picture has no transparency: it will cover what it is set upon");
    }
}

}  // namespace vemra::tool
