/** Decides what a repair does with the list of stamps on a device, as far as its slots tell. */
#pragma once

#include <map>
#include <string>
#include <vector>

#include "keep/check.h"

namespace vemra::tool {

struct repair_plan {
    /** The list after the repair, and its record. */
    mapping_record list;
    /** What the repair does, in sentences; empty when there is nothing to do. */
    std::vector<std::string> steps;
    /** Whether stamps are listed under names that no list told and nobody gave. */
    bool makes_names = false;
};

/**
 * Lists unlisted bytes again, and drops entries that have no bytes. A name is the one given for the
 * slot, else the one under which a list that was kept of this device has the same bytes in the same
 * slot, else a made one. Left alone are sealed bytes, which name themselves, slots that cannot be
 * read, and what may not be stored. Throws failure (usage) for a given name of a slot that needs
 * none, or one that no new stamp beside the listed ones could have.
 */
repair_plan plan_repair(session& tokens, const device_contents& contents,
                        const std::map<int, std::string>& given_names);

/** Whether a repair would mend something now; false where the device does not tell. */
bool needs_repair(const locked_device& device);

}  // namespace vemra::tool
