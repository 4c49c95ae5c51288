/** Puts the stamps of a backup on a device. */
#pragma once

#include <functional>

#include "files/archive.h"
#include "keep/restore_plan.h"
#include "keep/session.h"
#include "keep/verification.h"

namespace vemra::tool {

/**
 * The device that is meant; the one that the backup was made of when none is named. Throws failure
 * (no_device) when that is not attached, or as find_device() does.
 */
device_id restore_target(session& tokens, const archive& kept, const device_choice& choice);

struct restore_rule {
    /** Whether other stamps that are in the way are replaced. */
    bool replace = false;
    verification how = verification::everything;
};

/**
 * Restores what the plan says, and tells of each stamp: first of those that need or get nothing,
 * then of each change as soon as it is verified; `there` is the new stamp then for what was
 * appended. No password is needed when there is nothing to change. Throws as append_stamp() does,
 * and (partial) for a failure after the first change.
 */
void restore_backup(session& tokens, const device_id& device, const archive& kept,
                    const restore_rule& rule, const std::function<void(const restore_item&)>& tell);

}  // namespace vemra::tool
