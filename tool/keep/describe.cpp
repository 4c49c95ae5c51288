#include "keep/describe.h"

#include "basics/hex.h"
#include "basics/text.h"

namespace vemra::tool {

std::string describe(const device_id& device) {
    return printable(device.serial) + " (type " + std::to_string(device.type) + ")";
}

std::string describe_slot(unsigned int slot) {
    return "slot " + std::to_string(slot);
}

std::string describe_attempts(int left) {
    return std::to_string(left) + (left == 1 ? " attempt left" : " attempts left");
}

std::string describe_unreadable(const stamp& one) {
    return quoted(one.name) + " in slot " + std::to_string(one.slot) + " of " +
           describe(one.device) + " cannot be read: " + printable(one.fault);
}

std::string describe_unreadable(const device_id& device, const std::string& cause) {
    return "the list of " + describe(device) + " cannot be read: " + cause;
}

std::string describe_misplaced(unsigned int slot, const std::string& name) {
    return quoted(name) + " is listed in slot " + std::to_string(slot) + ", which holds no stamps";
}

std::string describe(const named_stamp& one) {
    return to_hex(one.uuid).substr(0, 16) + "  " + quoted(one.name) + " on " + describe(one.device);
}

}  // namespace vemra::tool
