/** A device's mapping record, read through the device layer, and the slots that it names. */
#pragma once

#include <map>
#include <string>
#include <vector>

#include "keep/session.h"

namespace vemra::tool {

/** The list of stamps in the mapping slot. */
struct mapping_record {
    std::string bytes;
    stamp_mapping entries;
    /** What the reader found wrong with the record. */
    std::vector<std::string> faults;

    /** The slots of stamps that it lists, ascending. */
    std::vector<int> listed_slots() const;
    /** The names of the stamps that it lists, and nothing more of them. */
    std::vector<named_stamp> listed_stamps(const device_id& device) const;
    /** The slot that the next append takes; 0 when there is none. */
    int lowest_free_slot() const;
};

/** The slot that the next append takes beside all stamps that a device lists; 0 for none. */
int lowest_free_slot(const std::vector<stamp>& listed);

/** The record of other entries for a device. */
mapping_record make_mapping(session& tokens, const device_id& device, const stamp_mapping& entries);

/** Throws failure (failed) when the slot cannot be read. */
mapping_record read_mapping(session& tokens, const device_id& device);

/** How many stamps a device holds at most. */
constexpr int stamp_slots = last_stamp_slot - first_stamp_slot + 1;

/** Whether stamps lie in this slot, not the list or something else. */
inline bool is_stamp_slot(unsigned int slot) {
    return app::stamp::is_stamp_slot(static_cast<int>(slot));
}

}  // namespace vemra::tool
