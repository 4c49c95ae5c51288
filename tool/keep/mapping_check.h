/** Compares a device's mapping record with the bytes in its slots, and plans the repair. */
#pragma once

#include <map>
#include <string>
#include <vector>

#include "keep/slots.h"

namespace vemra::tool {

struct finding {
    enum class kind {
        unreadable,
        malformed_record,
        entry_without_bytes,
        bytes_without_entry,
        slot_out_of_range,
        sealed_bytes,
        doubtful_name
    };

    kind what;
    /** 0 when it concerns the whole record. */
    unsigned int slot;
    std::string text;
};

/** The kind as it stands in --json, as in "entry-without-bytes". */
std::string name_of(finding::kind kind);

struct device_contents {
    mapping_record record;
    std::map<int, std::string> slots;
    std::vector<int> sealed_slots;
    /** Slots that may hold bytes, but do not give them. */
    std::vector<int> unreadable_slots;
    std::vector<finding> findings;
};

/** What cannot be read is a finding, too; without its record nothing else of a device is told. */
device_contents check_device(session& tokens, const device_id& device);

struct repair_plan {
    stamp_mapping mapping;
    /** The new record for the mapping slot. */
    std::string record;
    /** What the repair does, in sentences; empty when there is nothing to do. */
    std::vector<std::string> steps;
};

/**
 * Lists unlisted bytes again, under the name given for their slot or a made one, and drops entries
 * that have no bytes. Left alone are sealed bytes, which name themselves, and slots that cannot be
 * read. Throws failure (usage)
 * for a given name of a slot that needs none.
 */
repair_plan plan_repair(session& tokens, const device_contents& contents,
                        const std::map<int, std::string>& given_names);

}  // namespace vemra::tool
