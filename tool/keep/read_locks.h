/** Keeps writers off devices that are being read. */
#pragma once

#include <vector>

#include "keep/device_lock.h"
#include "keep/session.h"

namespace vemra::tool {

/**
 * Held until it is destroyed, shared with other readers. Where the person wants no locks, they are
 * warned that the devices may be in the middle of a change.
 */
class read_locks {
public:
    /** Waits for writers; throws as device_lock does. */
    read_locks(const session& tokens, std::vector<device_id> devices);

private:
    std::vector<device_lock> held_;
};

}  // namespace vemra::tool
