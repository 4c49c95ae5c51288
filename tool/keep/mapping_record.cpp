#include "keep/mapping_record.h"

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

std::string _read_bytes(session& tokens, const device_id& device) {
    try {
        return tokens.ask([&](token_reader& all) { return all.read_slot(device, mapping_slot); },
                          device);
    } catch (const failure& error) {
        throw failure(error.code(), describe_unreadable(device, printable(error.facts().cause)),
                      error.facts());
    }
}

}  // namespace

std::vector<int> mapping_record::listed_slots() const {
    std::vector<int> slots;
    for (const auto& entry : entries) {
        if (is_stamp_slot(entry.first)) slots.push_back(static_cast<int>(entry.first));
    }
    return slots;
}

std::vector<named_stamp> mapping_record::listed_stamps(const device_id& device) const {
    std::vector<named_stamp> stamps;
    for (const auto& [slot, name] : entries) {
        if (is_stamp_slot(slot)) stamps.push_back({"", name, device});
    }
    return stamps;
}

int mapping_record::lowest_free_slot() const {
    return app::stamp::lowest_free_slot({entries.begin(), entries.end()}).value_or(0);
}

int lowest_free_slot(const std::vector<stamp>& listed) {
    mapping_record record;
    for (const stamp& one : listed) {
        record.entries[static_cast<unsigned int>(one.slot)] = one.name;
    }
    return record.lowest_free_slot();
}

mapping_record read_mapping(session& tokens, const device_id& device) {
    mapping_record record;
    record.bytes = _read_bytes(tokens, device);
    record.entries =
        tokens.ask([&](token_reader& all) { return all.parse_mapping(record.bytes); }, device);
    record.faults = tokens.errors();
    return record;
}

mapping_record make_mapping(session& tokens, const device_id& device,
                            const stamp_mapping& entries) {
    mapping_record record;
    record.entries = entries;
    record.bytes = tokens.ask([&](token_reader& all) { return all.encode_mapping(entries); });
    if (tokens.ask([&](token_reader& all) { return all.parse_mapping(record.bytes); }) != entries) {
        throw failure(exit_code::failed,
                      "a name on " + describe(device) + " would not survive a new record");
    }
    return record;
}

}  // namespace vemra::tool
