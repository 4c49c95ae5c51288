/** Devices and stamps in messages. */
#pragma once

#include <string>

#include "device_module/stamp.h"

namespace vemra::tool {

/** "SERIAL (type N)", fit for a terminal. */
std::string describe(const device_id& device);
/** The first digits of the uuid, the name and the device. */
std::string describe(const stamp& one);
/** A sentence about one that cannot be read. */
std::string describe_unreadable(const stamp& one);

}  // namespace vemra::tool
