/** A device's mapping record, read through the device layer, and the slots that it names. */
#pragma once

#include <map>
#include <string>
#include <vector>

#include "keep/session.h"

namespace vemra::tool {

struct mapping_record {
    std::string bytes;
    stamp_mapping entries;
    /** What the reader found wrong with the record. */
    std::vector<std::string> faults;

    /** The slots of stamps that it lists, ascending. */
    std::vector<int> listed_slots() const;
    /** The slot that the next append takes; 0 when there is none. */
    int lowest_free_slot() const;
};

mapping_record read_mapping(session& tokens, const device_id& device);

constexpr int stamp_slots = last_stamp_slot - first_stamp_slot + 1;

inline bool is_stamp_slot(unsigned int slot) {
    return slot >= static_cast<unsigned int>(first_stamp_slot) &&
           slot <= static_cast<unsigned int>(last_stamp_slot);
}

}  // namespace vemra::tool
