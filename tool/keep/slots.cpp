#include "keep/slots.h"

#include <algorithm>

namespace vemra::tool {

std::vector<int> mapping_record::listed_slots() const {
    std::vector<int> slots;
    for (const auto& entry : entries) {
        if (is_stamp_slot(entry.first)) slots.push_back(static_cast<int>(entry.first));
    }
    return slots;
}

int mapping_record::lowest_free_slot() const {
    for (int slot = first_stamp_slot; slot <= last_stamp_slot; ++slot) {
        if (entries.count(static_cast<unsigned int>(slot)) == 0) return slot;
    }
    return 0;
}

mapping_record read_mapping(session& tokens, const device_id& device) {
    mapping_record record;
    record.bytes = tokens.read_slot(device, mapping_slot);
    record.entries = tokens.parse_mapping(record.bytes);
    record.faults = tokens.errors();
    return record;
}

}  // namespace vemra::tool
