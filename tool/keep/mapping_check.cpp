#include "keep/mapping_check.h"

#include <algorithm>
#include <set>

#include "basics/text.h"

namespace vemra::tool {

namespace {

using kind = finding::kind;

std::string _slot_text(unsigned int slot) {
    return "slot " + std::to_string(slot);
}

bool _holds(const std::vector<int>& slots, int slot) {
    return std::find(slots.begin(), slots.end(), slot) != slots.end();
}

bool _may_have_bytes(const device_contents& contents, unsigned int slot) {
    const int number = static_cast<int>(slot);
    return contents.slots.count(number) > 0 || _holds(contents.unreadable_slots, number);
}

// False, with a finding, when the record cannot be read.
bool _read_record(session& tokens, const device_id& device, device_contents& contents) {
    try {
        contents.record = read_mapping(tokens, device);
        return true;
    } catch (const failure& error) {
        contents.findings.push_back(
            {kind::unreadable, 0, std::string("the list cannot be read: ") + error.what()});
        return false;
    }
}

void _read_slot(session& tokens, const device_id& device, int slot, device_contents& contents) {
    try {
        std::string bytes = tokens.read_slot(device, slot);
        if (bytes.empty()) return;
        if (tokens.is_sealed(bytes)) contents.sealed_slots.push_back(slot);
        contents.slots.emplace(slot, std::move(bytes));
    } catch (const failure& error) {
        const auto number = static_cast<unsigned int>(slot);
        contents.unreadable_slots.push_back(slot);
        contents.findings.push_back(
            {kind::unreadable, number, _slot_text(number) + " cannot be read: " + error.what()});
    }
}

void _check_record(device_contents& contents) {
    for (const std::string& fault : contents.record.faults) {
        contents.findings.push_back({kind::malformed_record, 0, printable(fault)});
    }
    const std::string& bytes = contents.record.bytes;
    if (bytes.size() < 5) return;
    std::size_t total = 0;
    for (std::size_t i = 4; i-- > 0;) {
        total = total << 8 | static_cast<unsigned char>(bytes[i]);
    }
    if (total < bytes.size() && total >= 5) {
        contents.findings.push_back(
            {kind::malformed_record, 0,
             std::to_string(bytes.size() - total) + " bytes stand behind the record's end"});
    }
    if (bytes[4] != 1) {
        contents.findings.push_back(
            {kind::malformed_record, 0,
             "the record's version is " + std::to_string(static_cast<unsigned char>(bytes[4]))});
    }
}

void _check_entries(device_contents& contents) {
    for (const auto& [slot, name] : contents.record.entries) {
        if (!is_stamp_slot(slot)) {
            contents.findings.push_back(
                {kind::slot_out_of_range, slot,
                 quoted(name) + " is listed in " + _slot_text(slot) + ", which holds no stamps"});
        } else if (!_may_have_bytes(contents, slot)) {
            contents.findings.push_back(
                {kind::entry_without_bytes, slot,
                 quoted(name) + " is listed in " + _slot_text(slot) + ", which is empty"});
        }
    }
}

void _check_slots(device_contents& contents) {
    for (const auto& [slot, bytes] : contents.slots) {
        const auto number = static_cast<unsigned int>(slot);
        if (_holds(contents.sealed_slots, slot)) {
            contents.findings.push_back({kind::sealed_bytes, number,
                                         _slot_text(number) + " holds bytes of the sealed format"});
        } else if (contents.record.entries.count(number) == 0) {
            contents.findings.push_back({kind::bytes_without_entry, number,
                                         _slot_text(number) + " holds " +
                                             std::to_string(bytes.size()) +
                                             " bytes that no stamp is listed for"});
        }
    }
}

std::string _doubt_about(const std::string& name) {
    if (!is_utf8(name)) return "is not UTF-8";
    if (has_control_characters(name)) return "has control characters in it";
    if (has_invisible_characters(name)) return "has invisible characters in it";
    if (name.front() == ' ' || name.back() == ' ') return "begins or ends with a space";
    return "";
}

void _check_names(device_contents& contents) {
    std::set<std::string> known;
    for (const auto& [slot, name] : contents.record.entries) {
        std::string doubt = _doubt_about(name);
        if (!known.insert(name).second) doubt = "is the name of another stamp, too";
        if (doubt.empty()) continue;
        contents.findings.push_back({kind::doubtful_name, slot, quoted(name) + " " + doubt});
    }
}

// "recovered-8131", or the first such name with a number behind it that no stamp has.
std::string _made_name(const stamp_mapping& mapping, int slot) {
    const std::string first = "recovered-" + std::to_string(slot);
    std::string name = first;
    const auto has_name = [&](const auto& entry) { return entry.second == name; };
    for (int number = 2; std::any_of(mapping.begin(), mapping.end(), has_name); ++number) {
        name = first + "-" + std::to_string(number);
    }
    return name;
}

void _drop_entries_without_bytes(const device_contents& contents, repair_plan& plan) {
    for (const auto& [slot, name] : contents.record.entries) {
        if (is_stamp_slot(slot) && _may_have_bytes(contents, slot)) continue;
        plan.mapping.erase(slot);
        plan.steps.push_back("drop " + quoted(name) + " from the list: " + _slot_text(slot) +
                             " holds no stamp");
    }
}

void _list_unlisted_bytes(const device_contents& contents, std::map<int, std::string> given_names,
                          repair_plan& plan) {
    for (const auto& [slot, bytes] : contents.slots) {
        const auto number = static_cast<unsigned int>(slot);
        if (plan.mapping.count(number) > 0 || _holds(contents.sealed_slots, slot)) continue;
        const auto given = given_names.find(slot);
        const std::string name =
            given == given_names.end() ? _made_name(plan.mapping, slot) : given->second;
        if (given != given_names.end()) given_names.erase(given);
        plan.mapping[number] = name;
        plan.steps.push_back("list the bytes in " + _slot_text(number) + " as " + quoted(name));
    }
    if (given_names.empty()) return;
    throw failure(exit_code::usage, "slot " + std::to_string(given_names.begin()->first) +
                                        " holds no unlisted bytes to be named");
}

}  // namespace

std::string name_of(finding::kind kind) {
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
        case finding::kind::doubtful_name:
            return "doubtful-name";
    }
    return "";
}

device_contents check_device(session& tokens, const device_id& device) {
    device_contents contents;
    if (!_read_record(tokens, device, contents)) return contents;
    for (int slot = first_stamp_slot; slot <= last_stamp_slot; ++slot) {
        _read_slot(tokens, device, slot, contents);
    }
    _check_record(contents);
    _check_entries(contents);
    _check_slots(contents);
    _check_names(contents);
    return contents;
}

repair_plan plan_repair(session& tokens, const device_contents& contents,
                        const std::map<int, std::string>& given_names) {
    repair_plan plan;
    plan.mapping = contents.record.entries;
    _drop_entries_without_bytes(contents, plan);
    _list_unlisted_bytes(contents, given_names, plan);
    plan.record = tokens.encode_mapping(plan.mapping);
    if (tokens.parse_mapping(plan.record) != plan.mapping) {
        throw failure(exit_code::failed, "a name on the device would not survive a new record");
    }
    const bool is_malformed =
        std::any_of(contents.findings.begin(), contents.findings.end(),
                    [](const finding& one) { return one.what == kind::malformed_record; });
    if (is_malformed) plan.steps.emplace_back("write the list anew, well-formed");
    return plan;
}

}  // namespace vemra::tool
