/** Mends the list of stamps on a device. */
#pragma once

#include <vector>

#include "keep/repair_plan.h"

namespace vemra::tool {

/**
 * Keeps the old list with all its stamps, writes the planned one and verifies it. Returns what
 * findings remain. Throws as authorise() and authorised_change do, and failure (failed) when the
 * device does not hold what the plan was made for any more.
 */
std::vector<finding> repair_device(session& tokens, const device_id& id,
                                   const device_contents& contents, const repair_plan& plan);

}  // namespace vemra::tool
