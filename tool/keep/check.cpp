#include "keep/check.h"

#include <algorithm>
#include <atomic>
#include <set>

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/read_locks.h"
#include "keep/storing_rule.h"
#include "picture/picture.h"

namespace vemra::tool {

namespace {

// False, with a finding, when the record cannot be read.
bool _read_record(session& tokens, const device_id& device, device_contents& contents) {
    try {
        contents.record = read_mapping(tokens, device);
        return true;
    } catch (const failure& error) {
        contents.findings.push_back({finding::kind::unreadable, 0,
                                     "the list cannot be read: " + printable(error.facts().cause)});
        return false;
    }
}

void _read_slot(session& tokens, const device_id& device, int slot, device_contents& contents) {
    try {
        shared_bytes bytes(
            tokens.ask([&](token_reader& all) { return all.read_slot(device, slot); }, device));
        if (bytes.empty()) return;
        if (tokens.ask([&](token_reader& all) { return all.is_sealed(bytes.get()); }))
            contents.sealed_slots.push_back(slot);
        contents.slots.emplace(slot, std::move(bytes));
    } catch (const failure& error) {
        const auto number = static_cast<unsigned int>(slot);
        const stamp_mapping& entries = contents.record.entries;
        const auto listed = entries.find(number);
        const std::string which = listed == entries.end()
                                      ? describe_slot(number) + ", for which no stamp is listed,"
                                      : quoted(listed->second) + " in " + describe_slot(number);
        contents.unreadable_slots.push_back(slot);
        contents.findings.push_back({finding::kind::unreadable, number,
                                     which + " cannot be read: " + printable(error.facts().cause)});
    }
}

void _read_slots(session& tokens, const device_id& device, device_contents& contents) {
    std::atomic<std::size_t> read = 0;
    const auto shown = show_slots(tokens, device, "checking " + describe(device), read);
    for (int slot = first_stamp_slot; slot <= last_stamp_slot; ++slot) {
        _read_slot(tokens, device, slot, contents);
        const auto held = contents.slots.find(slot);
        if (held != contents.slots.end()) read += held->second.size();
    }
}

void _check_record(device_contents& contents) {
    for (const std::string& fault : contents.record.faults) {
        contents.findings.push_back({finding::kind::malformed_record, 0, printable(fault)});
    }
    const std::string& bytes = contents.record.bytes;
    const auto header = app::stamp::parse_stamp_info_header(
        reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    if (!header) return;
    const std::size_t total = header->total_length;
    if (total < bytes.size() && total >= header->length) {
        contents.findings.push_back(
            {finding::kind::malformed_record, 0,
             std::to_string(bytes.size() - total) + " bytes stand behind the record's end"});
    }
    if (header->version != header->known_version) {
        contents.findings.push_back({finding::kind::malformed_record, 0,
                                     "the record's version is " + std::to_string(header->version)});
    }
}

void _check_entries(device_contents& contents) {
    for (const auto& [slot, name] : contents.record.entries) {
        if (!is_stamp_slot(slot)) {
            contents.findings.push_back(
                {finding::kind::slot_out_of_range, slot, describe_misplaced(slot, name)});
        } else if (!contents.may_have_bytes(slot)) {
            contents.findings.push_back(
                {finding::kind::entry_without_bytes, slot,
                 quoted(name) + " is listed in " + describe_slot(slot) + ", which is empty"});
        }
    }
}

void _check_slots(device_contents& contents) {
    for (const auto& [slot, bytes] : contents.slots) {
        const auto number = static_cast<unsigned int>(slot);
        if (contents.is_sealed(slot)) {
            contents.findings.push_back(
                {finding::kind::sealed_bytes, number,
                 describe_slot(number) + " holds bytes of the sealed format"});
        } else if (contents.record.entries.count(number) == 0) {
            contents.findings.push_back({finding::kind::bytes_without_entry, number,
                                         describe_slot(number) + " holds " +
                                             std::to_string(bytes.size()) +
                                             " bytes that no stamp is listed for"});
        }
    }
}

void _check_pictures(device_contents& contents) {
    for (const auto& [slot, bytes] : contents.slots) {
        const std::string damage = damage_of(bytes.get());
        if (damage.empty()) continue;
        const auto number = static_cast<unsigned int>(slot);
        contents.findings.push_back(
            {finding::kind::damaged_picture, number,
             "the picture in " + describe_slot(number) + " is damaged: " + damage});
    }
}

void _check_names(device_contents& contents) {
    std::set<std::string> known;
    for (const auto& [slot, name] : contents.record.entries) {
        std::string doubt = doubt_about(name);
        if (!known.insert(name).second) doubt = "is the name of another stamp, too";
        if (doubt.empty()) continue;
        contents.findings.push_back(
            {finding::kind::doubtful_name, slot, quoted(name) + " " + doubt});
    }
}

bool _holds(const std::vector<int>& slots, int slot) {
    return std::find(slots.begin(), slots.end(), slot) != slots.end();
}

device_contents _check(session& tokens, const device_id& device) {
    device_contents contents;
    contents.device = device;
    if (!_read_record(tokens, device, contents)) return contents;
    _read_slots(tokens, device, contents);
    _check_record(contents);
    _check_entries(contents);
    _check_slots(contents);
    _check_pictures(contents);
    _check_names(contents);
    return contents;
}

}  // namespace

bool device_contents::is_sealed(int slot) const {
    return _holds(sealed_slots, slot);
}

bool device_contents::may_have_bytes(unsigned int slot) const {
    const int number = static_cast<int>(slot);
    return slots.count(number) > 0 || _holds(unreadable_slots, number);
}

bool device_contents::holds_the_same(const device_contents& other) const {
    return record.bytes == other.record.bytes && slots == other.slots &&
           unreadable_slots == other.unreadable_slots;
}

device_contents check_device(const locked_device& device) {
    return _check(device.tokens(), device.id());
}

device_contents check_device(session& tokens, const device_id& device) {
    tokens.tell_kept(device);
    const read_locks lock(tokens, {device});
    return _check(tokens, device);
}

}  // namespace vemra::tool
