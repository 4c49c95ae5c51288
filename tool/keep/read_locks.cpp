#include "keep/read_locks.h"

#include <algorithm>

#include "keep/describe.h"

namespace vemra::tool {

// In one order, whatever the order of the devices: two runs that wait for each other never end.
read_locks::read_locks(const session& tokens, std::vector<device_id> devices) {
    std::sort(devices.begin(), devices.end());
    const lock_deadline deadline = tokens.deadline();
    for (const device_id& device : devices) {
        if (tokens.locking().readers_wait) {
            held_.emplace_back(device, device_lock::kind::shared, deadline);
        } else {
            tokens.served().warn(describe(device) +
                                 " is read without its lock: it may be in the middle of a change");
        }
    }
}

}  // namespace vemra::tool
