#include "commands/shapes.h"

#include <optional>

#include "basics/digest.h"
#include "basics/hex.h"
#include "basics/text.h"
#include "files/archive.h"
#include "keep/selector.h"
#include "keep/storing_rule.h"

namespace vemra::tool {

namespace {

template <typename T>
json _or_null(const std::optional<T>& value) {
    return value ? json(*value) : json(nullptr);
}

std::string _name_of(finding::kind kind) {
    switch (kind) {
        case finding::kind::unreadable:
            return "unreadable";
        case finding::kind::malformed_record:
            return "malformed-record";
        case finding::kind::entry_without_bytes:
            return "entry-without-bytes";
        case finding::kind::bytes_without_entry:
            return "bytes-without-entry";
        case finding::kind::slot_out_of_range:
            return "slot-out-of-range";
        case finding::kind::sealed_bytes:
            return "sealed-bytes";
        case finding::kind::damaged_picture:
            return "damaged-picture";
        case finding::kind::doubtful_name:
            return "doubtful-name";
    }
    return "";
}

// How the person has it stored all the same.
std::string _remedy_for(objection::kind reason) {
    switch (reason) {
        case objection::kind::forbidden:
            return "";
        case objection::kind::no_picture:
            return "; --any-data stores it all the same";
        case objection::kind::used_name:
            return "; --allow-duplicate gives it all the same";
    }
    return "";
}

bool _holds_stamps(const std::string& directory) {
    try {
        return !read_archive(directory).stamps.empty();
    } catch (const failure&) {
        return false;
    }
}

// How a person puts back what a change that failed had overwritten.
std::string _way_back(const failure_facts& facts) {
    std::string text;
    if (facts.damaged_list) {
        text = "\nMend the list of stamps with: vemra-stamp check --repair --device " +
               shell_word(facts.damaged_list->first) + " --device-type " +
               std::to_string(facts.damaged_list->second);
    }
    if (facts.recovery.empty()) return text;
    if (!_holds_stamps(facts.recovery)) {
        return text + "\nThe old list is kept in " + facts.recovery +
               ", for check --repair to take the names from";
    }
    return text + "\nWhat was there is kept; " + (text.empty() ? "" : "then ") +
           "put it back with: vemra-stamp restore --replace " + shell_word(facts.recovery);
}

}  // namespace

json picture_json(const picture& seen) {
    json transparent = nullptr;
    if (seen.transparent != picture::transparency::unknown) {
        transparent = seen.transparent == picture::transparency::yes;
    }
    return {{"media_type", seen.media_type},
            {"width", _or_null(seen.width)},
            {"height", _or_null(seen.height)},
            {"x_resolution", _or_null(seen.x_resolution)},
            {"y_resolution", _or_null(seen.y_resolution)},
            {"transparent", transparent},
            {"damaged", seen.is_damaged()},
            {"damage", seen.is_damaged() ? json(seen.damage) : json(nullptr)}};
}

json device_json(const device_id& device) {
    return {{"serial", device.serial}, {"type", device.type}};
}

json identity_json(const named_stamp& one) {
    return {{"uuid", to_hex(one.uuid)}, {"name", one.name}, {"device", device_json(one.device)}};
}

json unreadable_json(const stamp& one) {
    json object = identity_json(one);
    object["slot"] = one.slot;
    object["cause"] = one.fault;
    return object;
}

json stamp_json(const pictured_stamp& shown) {
    const stamp& one = shown.one;
    json object = identity_json(one);
    object["bytes"] = one.data.size();
    object["sha256"] = sha256(one.data.get());
    object["picture"] = picture_json(shown.seen);
    return object;
}

json findings_json(const std::vector<finding>& findings) {
    json list = json::array();
    for (const finding& one : findings) {
        list.push_back({{"kind", _name_of(one.what)},
                        {"slot", one.slot == 0 ? json(nullptr) : json(one.slot)},
                        {"text", one.text}});
    }
    return list;
}

json error_json(const failure& error) {
    const failure_facts& facts = error.facts();
    json object{{"message", message_of(error)}};
    if (facts.differences) object["differences"] = *facts.differences;
    if (!facts.recovery.empty()) object["recovery"] = facts.recovery;
    if (facts.damaged_list) object["list_damaged"] = true;
    if (!facts.cause.empty()) object["cause"] = facts.cause;
    if (facts.attempts_left) object["attempts_left"] = *facts.attempts_left;
    const auto* several = dynamic_cast<const ambiguous_selector*>(&error);
    if (several == nullptr) return object;
    object["candidates"] = json::array();
    for (const named_stamp& one : several->candidates()) {
        object["candidates"].push_back(identity_json(one));
    }
    return object;
}

std::string message_of(const failure& error) {
    std::string text = error.what();
    if (const auto* refused = dynamic_cast<const refused_offer*>(&error)) {
        text += _remedy_for(refused->reason());
    }
    return text + _way_back(error.facts());
}

}  // namespace vemra::tool
