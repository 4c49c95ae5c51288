/** Devices, stamps and slots, as the module and the tool tell each other of them. */
#pragma once

#include <map>
#include <string>
#include <vector>

#include "basics/shared_bytes.h"
#include "core/stamp_info_header.h"
#include "core/stamp_slots.h"

namespace vemra::tool {

/** A device's serial number and type. */
struct device_id {
    std::string serial;
    int type = 0;

    bool operator==(const device_id& other) const {
        return serial == other.serial && type == other.type;
    }
    bool operator<(const device_id& other) const {
        return serial != other.serial ? serial < other.serial : type < other.type;
    }
};

/** A stamp as its device's list names it; its bytes need not have been read. */
struct named_stamp {
    /** Raw bytes. */
    std::string uuid;
    std::string name;
    device_id device;
    /** 0 when it is not known. */
    int slot = 0;
};

/** A stamp with its bytes. */
struct stamp : named_stamp {
    shared_bytes data{};
    /** Why its bytes cannot be read: the device's text. Empty when they were. */
    std::string fault{};
    /** Whether the public interface lists it; else the device layer alone reaches it. */
    bool is_listed = true;

    bool is_readable() const { return fault.empty(); }
};

/** Whether both stand in the same place of the same device, whatever they hold. */
inline bool is_same_place(const named_stamp& left, const named_stamp& right) {
    return left.uuid == right.uuid && left.device == right.device;
}

inline std::vector<named_stamp> names_of(const std::vector<stamp>& stamps) {
    return {stamps.begin(), stamps.end()};
}

/** What an enumeration gave. */
struct stamp_list {
    /** The status of the enumeration; 1 when the list is usable. */
    int status = 0;
    std::vector<stamp> stamps;
    /** Stamps that were listed but could not be taken out. */
    unsigned int unreadable = 0;
};

/** The device's answer to a password. `retries` stays -1 when the device does not tell. */
struct password_answer {
    int result = 0;
    int retries = -1;
    std::string text;
};

/** Slot to name, as the record in the mapping slot has them. */
using stamp_mapping = std::map<unsigned int, std::string>;

/** The slot of the mapping, and the first and last of those that hold stamps. */
constexpr int mapping_slot = app::stamp::stamp_info_slot;
using app::stamp::first_stamp_slot;
using app::stamp::last_stamp_slot;

}  // namespace vemra::tool
