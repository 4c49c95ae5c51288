/** Compares a device's mapping record with the bytes in its slots. */
#pragma once

#include <map>
#include <string>
#include <vector>

#include "keep/locked_device.h"
#include "keep/mapping_record.h"

namespace vemra::tool {

/** Something that does not fit on a device. */
struct finding {
    enum class kind {
        unreadable,
        malformed_record,
        entry_without_bytes,
        bytes_without_entry,
        slot_out_of_range,
        sealed_bytes,
        damaged_picture,
        doubtful_name
    };

    kind what;
    /** 0 when it concerns the whole record. */
    unsigned int slot;
    std::string text;
};

/** What was read of a device, and what was found wrong with it. */
struct device_contents {
    device_id device;
    mapping_record record;
    /** The bytes of the slots that hold some. */
    std::map<int, shared_bytes> slots;
    std::vector<int> sealed_slots;
    /** Slots that may hold bytes, but do not give them. */
    std::vector<int> unreadable_slots;
    std::vector<finding> findings;

    bool is_sealed(int slot) const;
    /** What cannot be read may have some. */
    bool may_have_bytes(unsigned int slot) const;
    bool holds_the_same(const device_contents& other) const;
};

/**
 * Reads a device under its lock, shared with other readers. What cannot be read is a finding, too;
 * without its record nothing else of a device is told.
 */
device_contents check_device(session& tokens, const device_id& device);
/** The same for one that is locked already. */
device_contents check_device(const locked_device& device);

}  // namespace vemra::tool
