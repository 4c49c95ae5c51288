#include "model/model_library.h"

#include <algorithm>
#include <set>

#include "model/model_object.h"
#include "support/hex_text.h"

namespace {

constexpr int first_slot = 8130;
constexpr int last_slot = 8134;
constexpr int any_type = -1;
constexpr int reserved_type = 0;
constexpr int image_type = 1;

std::string _shown(const char* text) {
    return text == nullptr ? "(null)" : text;
}

bool _is_sealed(const std::string& bytes) {
    return bytes == "VemraSeal" || bytes == std::string("VemraSeal\0", 10);
}

// Each entry of the record, the entry of an uuid and its item with their owners.
constexpr long blocks_of_a_known_uuid = 3;

}  // namespace

bool operator==(const seen_stamp& left, const seen_stamp& right) {
    return left.uuid == right.uuid && left.name == right.name && left.data == right.data;
}

std::ostream& operator<<(std::ostream& out, const seen_stamp& stamp) {
    return out << hex_text(stamp.uuid) << " " << stamp.name << " " << stamp.data.size() << ":"
               << hex_text(stamp.data.substr(0, 16), " ");
}

long model_library::kept_blocks() const {
    std::set<const model_handle*> owners;
    long result = holdings_.kept_blocks();
    for (const auto& entry : known_) {
        owners.insert(entry.second.owner.get());
        result += blocks_of_a_known_uuid + (entry.second.has_long_name ? 1 : 0);
    }
    for (const model_handle* owner : owners)
        result += owner->blocks();
    return result;
}

bool model_library::enumerate(handles& found, const std::string& complaint) {
    try {
        found = all_handles();
        devices_.memory.step();
    } catch (const device_failure& failure) {
        error(complaint + ", because: " + failure.text + ".");
        return false;
    }
    devices_.memory.step();
    if (found.empty()) error("No device.");
    return !found.empty();
}

model_library::handles model_library::all_handles() {
    handles result;
    if (!devices_.list_devices()) return result;
    const int count = devices_.device_count();
    for (int i = 0; i < count; ++i) {
        const handle_ptr handle = devices_.get_device(i);
        devices_.memory.step();
        devices_.memory.require_memory();
        handle->load();
        devices_.memory.step();
        result.push_back(handle);
    }
    return result;
}

model_library::mapping model_library::parsed(const std::string& record) {
    const reference_mapping::reading found = reference_mapping::read(record);
    for (const std::string& report : found.reports)
        error(report, "stamp_info_mapping.cpp", "_parse_stamp_info_mapping");
    return found.stamps;
}

bool model_library::read_mapping(model_handle& handle, mapping& entries) {
    std::string record;
    try {
        record = object(handle).bytes(mapping_slot);
        devices_.memory.step();
    } catch (const device_failure& failure) {
        error("Unable to get stamp info from 8127, because: " + failure.text + ".");
        return false;
    }
    devices_.memory.step();
    entries = parsed(record);
    return true;
}

std::string model_library::uuid_of(model_handle& handle, int slot) {
    const std::string serial = object(handle).serial_of();
    const auto type = static_cast<unsigned int>(object(handle).type_of());
    std::string uuid;
    std::string complaint;
    const std::vector<std::string> pieces{
        serial, reference_mapping::little_endian(type),
        reference_mapping::little_endian(static_cast<unsigned int>(slot))};
    if (!devices_.digest(handle, pieces, uuid, complaint)) {
        error(complaint, "stamp_device_map.cpp", "generate_uuid");
    }
    return uuid;
}

void model_library::list_entry(const handle_ptr& handle, int slot, const std::string& name) {
    if (slot < first_slot || slot > last_slot) {
        error("Invalid id of the storage of stamp: " + std::to_string(slot) + ", skip it.");
        return;
    }
    const std::string data = object(*handle).bytes(slot);
    const std::string uuid = uuid_of(*handle, slot);
    if (uuid.empty()) {
        error("Unable to generate uuid of stamp.");
        return;
    }
    verbose("uuid: " + hex_text(uuid));
    if (!devices_.memory.has_memory()) {
        error("Unable to construct an image stamp object.");
        return;
    }
    devices_.memory.step();
    stamps.push_back({uuid, name, data});
    devices_.memory.step();
    if (known_.count(uuid) != 0 || !devices_.memory.has_memory()) return;
    devices_.memory.step();
    known_.emplace(uuid, place{handle, slot, name.size() > short_text});
}

void model_library::list_device(const handle_ptr& handle, const wanted_stamps& wanted) {
    if (handle->device() == nullptr) {
        error("Bad device pointer.");
        return;
    }
    const int type = object(*handle).type_of();
    const std::string serial = object(*handle).serial_of();
    if (!wanted.serial.empty() && wanted.serial != serial) return;
    if (wanted.device_type != -1 && wanted.device_type != type) return;
    if (wanted.type == reserved_type) return;
    if (object(*handle).length(mapping_slot) == 0) {
        debug("No image stamp in device: " + serial + ".");
        return;
    }
    for (const auto& [slot, name] : parsed(object(*handle).bytes(mapping_slot)))
        list_entry(handle, static_cast<int>(slot), name);
}

// A stamp that could not be remembered can be listed, but not be taken.
void model_library::take_all() {
    listed_.clear();
    for (seen_stamp& stamp : stamps) {
        if (known_.count(stamp.uuid) == 0) stamp = {"not taken", {}, {}};
        listed_.push_back(stamp.uuid);
    }
}

seen_call model_library::list_wanted(const wanted_stamps& wanted) {
    return call("VemraAppStampGetAllStamps", [&] {
        verbose("Input `type`            : " + std::to_string(wanted.type));
        verbose("Input `device_sn`       : " + (wanted.serial.empty() ? "(null)" : wanted.serial));
        verbose("Input `device_sn_length`: " + std::to_string(wanted.serial.size()));
        verbose("Input `device_type`     : " + std::to_string(wanted.device_type));
        if (wanted.type < any_type || wanted.type > image_type) return -4;
        handles found;
        if (!enumerate(found, "Unable to load devices")) return 0;
        if (!devices_.memory.has_memory()) return -3;
        // The serial number that is wanted is copied, outside of any guard.
        devices_.memory.step();
        for (const handle_ptr& handle : found) {
            try {
                list_device(handle, wanted);
                devices_.memory.step();
            } catch (const device_failure& failure) {
                error(failure.text);
            }
        }
        take_all();
        return 1;
    });
}

seen_call model_library::own_device(std::size_t index) {
    return own_device_of(listed_.at(index));
}

std::vector<std::string> model_library::known_uuids() const {
    std::vector<std::string> uuids;
    for (const auto& entry : known_)
        uuids.push_back(entry.first);
    return uuids;
}

const model_library::place* model_library::find(const std::string& uuid) {
    const auto found = known_.find(uuid);
    if (found != known_.end()) return &found->second;
    error(uuid.empty() ? "Bad uuid." : "Unable to find a device by this uuid.");
    return nullptr;
}

seen_call model_library::own_device_of(const std::string& uuid) {
    std::string serial;
    int type = 0;
    seen_call seen = call("VemraAppStampGetStampOwnDevice", [&] {
        verbose("Input `handle`                 : PTR");
        verbose("Input `output_device_sn`       : PTR");
        verbose("Input `output_device_sn_length`: PTR");
        verbose("Input `output_device_type`     : PTR");
        try {
            model_handle& owner = *known_.at(uuid).owner;
            const std::string asked = object(owner).serial_of();
            type = object(owner).type_of();
            serial = asked;
        } catch (const device_failure& failure) {
            error("Unable to get device info from this stamp, because: " + failure.text + ".");
            return 0;
        }
        if (!serial.empty() && !devices_.memory.has_memory()) {
            serial = "no memory for " + std::to_string(serial.size());
        }
        return 1;
    });
    if (seen.status != 1) return seen;
    seen.owner_serial = serial;
    seen.owner_type = type;
    return seen;
}

void model_library::verify(model_handle& handle, const char* password) {
    if (password == nullptr) return;
    int retries = 0;
    const int status = devices_.verify(handle, password, retries);
    if (status == 1) return;
    error("Unable to verify password, because: " + devices_.failure_text(status) +
          ", you can retry " + std::to_string(retries) + " more times.");
}

int model_library::write_both(model_handle& handle, int slot, const new_stamp& stamp,
                              const mapping& entries, const std::string& complaint) {
    const std::string record = reference_mapping::write(entries);
    devices_.memory.step();
    try {
        object(handle).store(slot, stamp.data);
        object(handle).store(mapping_slot, record);
    } catch (const device_failure& failure) {
        error(complaint + ", because: " + failure.text + ".");
        return 0;
    }
    return 1;
}

seen_call model_library::append(const std::string& serial, int type, const char* password,
                                const new_stamp& stamp) {
    return call("VemraAppStampAppendStamp", [&] {
        verbose("Input `device_sn`       : " + serial);
        verbose("Input `device_sn_length`: " + std::to_string(serial.size()));
        verbose("Input `device_type`     : " + std::to_string(type));
        verbose("Input `password`        : " + _shown(password));
        verbose("Input `stamp`           : PTR");
        handles found;
        if (!enumerate(found, "Unable to get any crypto device")) return 0;
        handle_ptr owner;
        for (const handle_ptr& handle : found) {
            if (handle->device() == nullptr) error("Bad device pointer.");
            if (handle->device() == nullptr || object(*handle).serial_of() != serial) continue;
            if (object(*handle).type_of() != type) continue;
            owner = handle;
            break;
        }
        if (owner == nullptr) {
            error("Unable to find a matched device by given serial number.");
            return 0;
        }
        verify(*owner, password);
        if (stamp.type != image_type) return -4;
        mapping entries;
        if (!read_mapping(*owner, entries)) return 0;
        int slot = first_slot;
        while (slot <= last_slot && entries.count(static_cast<unsigned int>(slot)) != 0)
            ++slot;
        if (slot > last_slot) {
            error(
                "No more storage space to store the stamp, storage from 8130 to 8134 are all "
                "occupied.");
            return -7;
        }
        entries[static_cast<unsigned int>(slot)] = stamp.name;
        return write_both(*owner, slot, stamp, entries, "Unable to append a new stamp");
    });
}

seen_call model_library::update(const std::string& uuid, const char* password,
                                const new_stamp& stamp) {
    return call("VemraAppStampUpdateStamp", [&] {
        verbose("Input `uuid`     : " + hex_text(uuid));
        verbose("Input `uuid_size`: " + std::to_string(uuid.size()));
        verbose("Input `password` : " + _shown(password));
        verbose("Input `stamp`    : PTR");
        const place* at = find(uuid);
        if (at == nullptr) return 0;
        verify(*at->owner, password);
        if (stamp.type != image_type) return -4;
        mapping entries;
        if (!read_mapping(*at->owner, entries)) return 0;
        entries[static_cast<unsigned int>(at->slot)] = stamp.name;
        return write_both(*at->owner, at->slot, stamp, entries, "Unable to update stamp");
    });
}

bool model_library::forget_entry(model_handle& handle, int slot) {
    mapping entries;
    if (!read_mapping(handle, entries)) return false;
    entries.erase(static_cast<unsigned int>(slot));
    devices_.memory.step();
    try {
        object(handle).store(mapping_slot, reference_mapping::write(entries));
    } catch (const device_failure& failure) {
        error("Unable to delete stamp info from 8127, because: " + failure.text + ".");
        return false;
    }
    return true;
}

seen_call model_library::remove(const std::string& uuid, const char* password) {
    return call("VemraAppStampDeleteStamp", [&] {
        verbose("Input `uuid`     : " + hex_text(uuid));
        verbose("Input `uuid_size`: " + std::to_string(uuid.size()));
        verbose("Input `password` : " + _shown(password));
        const place* at = find(uuid);
        if (at == nullptr) return 0;
        verify(*at->owner, password);
        std::string data;
        try {
            data = object(*at->owner).bytes(at->slot);
            devices_.memory.step();
        } catch (const device_failure& failure) {
            error("Unable to get stamp data from " + std::to_string(at->slot) +
                  ", because: " + failure.text + ".");
            return 0;
        }
        if (!_is_sealed(data) && !forget_entry(*at->owner, at->slot)) return 0;
        try {
            object(*at->owner).erase(at->slot);
        } catch (const device_failure& failure) {
            error("Unable to delete stamp, because: " + failure.text + ".");
            return 0;
        }
        return 1;
    });
}
