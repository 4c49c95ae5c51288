/** Names one of the listed stamps: a uuid, a unique prefix of one, or name:TEXT. */
#pragma once

#include <string>
#include <vector>

#include "commands/context.h"

namespace vemra::tool {

/** Throws failure: (no_stamp), (ambiguous) with the candidates, (usage) for an unusable selector.
 */
const stamp& select_stamp(const std::vector<stamp>& stamps, const std::string& selector);

/** The stamps of all devices. */
stamp_list read_all_stamps(context& run);
/** The same; what could not be read is warned of. */
std::vector<stamp> list_for_selection(context& run);

/** A stamp's uuid, name and device as they stand in --json. */
json identity_json(const stamp& one);
/** The device as it stands in --json. */
json device_json(const device_id& device);

}  // namespace vemra::tool
