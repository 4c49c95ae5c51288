/** Keeps other runs of the tool off a device. Only the tool heeds it; other programs do not. */
#pragma once

#include "device_module/stamp.h"
#include "files/descriptor.h"

namespace vemra::tool {

/** Held until it is destroyed. Several readers share it; one writer has it alone. */
class device_lock {
public:
    enum class kind { shared, exclusive };

    /** Waits; throws failure (lock_timeout) after that many seconds. */
    device_lock(const device_id& device, kind wanted, double timeout);

private:
    descriptor file_;
};

}  // namespace vemra::tool
