/** Keeps other runs of the tool off a device. Only the tool heeds it; other programs do not. */
#pragma once

#include <chrono>
#include <vector>

#include "command_line/descriptor.h"
#include "device_module/stamp.h"

namespace vemra::tool {

/** When waiting for other runs ends. */
using lock_deadline =
    std::chrono::time_point<std::chrono::steady_clock, std::chrono::duration<double>>;

/**
 * Held until it is destroyed. Several readers share it; one writer has it alone. It is taken in
 * every place for locks that the user can reach, so that users who reach different ones meet.
 */
class device_lock {
public:
    enum class kind { shared, exclusive };

    /**
     * Waits; throws failure (lock_timeout) at the deadline, or (failed) when there is a lock file
     * that cannot be opened, or no place to make one.
     */
    device_lock(const device_id& device, kind wanted, lock_deadline deadline);

private:
    std::vector<descriptor> files_;
};

}  // namespace vemra::tool
