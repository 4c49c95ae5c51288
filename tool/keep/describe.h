/** Devices and stamps in messages. */
#pragma once

#include <string>

#include "device_module/stamp.h"

namespace vemra::tool {

/** "SERIAL (type N)", fit for a terminal. */
std::string describe(const device_id& device);
/** The first digits of the uuid, the name and the device. */
std::string describe(const named_stamp& one);
/** "slot 8130" */
std::string describe_slot(unsigned int slot);
/** "1 attempt left", "2 attempts left" */
std::string describe_attempts(int left);
/** A sentence about one that cannot be read. */
std::string describe_unreadable(const stamp& one);
/** About a device whose list cannot be read. */
std::string describe_unreadable(const device_id& device, const std::string& cause);
/** About an entry of a list whose slot holds no stamps. */
std::string describe_misplaced(unsigned int slot, const std::string& name);

}  // namespace vemra::tool
