#include "model/stamp_model.h"

#include <algorithm>
#include <cstdint>

#include "support/hex_text.h"

namespace {

constexpr int mapping_slot = 8127;
constexpr int first_slot = 8130;
constexpr int last_slot = 8134;

// The throw sites of the device layer that a refusing or missing device reaches.
constexpr int get_length_line = 147;
constexpr int create_in_restore_line = 200;
constexpr int delete_line = 269;
constexpr int get_type_line = 79;

constexpr const char* removed = "removed(19";
constexpr const char* not_logged_in = "not logged in(15";

using failure = std::optional<std::string>;

bool _has_data(const model_device& device, int id) {
    const auto found = device.slots.find(id);
    return found != device.slots.end() && !found->second.empty();
}

bool _may_write(const model_device& device) {
    return !device.needs_login || device.is_logged_in;
}

// A device that refuses to write refuses to delete too. What differs is how far a write comes: over
// data it ends when the old bytes are to be deleted, else when the slot is to be made again.
failure _write(model_device& device, int id, const std::string& bytes) {
    if (_may_write(device)) {
        device.slots[id] = bytes;
        return std::nullopt;
    }
    return failure_text(not_logged_in,
                        _has_data(device, id) ? delete_line : create_in_restore_line);
}

failure _remove(model_device& device, int id) {
    if (!_has_data(device, id)) return std::nullopt;
    if (!_may_write(device)) return failure_text(not_logged_in, delete_line);
    device.slots.erase(id);
    return std::nullopt;
}

std::string _little_endian(int value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i, value /= 256)
        bytes += static_cast<char>(value % 256);
    return bytes;
}

bool _is_sealed(const std::string& bytes) {
    return bytes == "VemraSeal" || bytes == std::string("VemraSeal\0", 10);
}

std::optional<int> _lowest_free_slot(const reference_mapping::mapping& stamps) {
    for (int slot = first_slot; slot <= last_slot; ++slot) {
        if (stamps.count(static_cast<unsigned int>(slot)) == 0) return slot;
    }
    return std::nullopt;
}

void _verify(model_device& device, bool is_reachable, const char* password, expected_trace& trace) {
    if (password == nullptr) return;
    std::string reason = removed;
    int retries = 0;
    if (is_reachable) {
        device.is_logged_in = false;
        if (device.retries == 0) {
            reason = "locked(18";
        } else if (password == std::string(right_password)) {
            device.retries = 5;
            device.is_logged_in = true;
            return;
        } else {
            reason = "wrong password(16";
            retries = --device.retries;
        }
    }
    trace.error("Unable to verify password, because: " + reason + ", you can retry " +
                std::to_string(retries) + " more times.");
}

std::string _slot(const model_device& device, int id) {
    const auto found = device.slots.find(id);
    return found == device.slots.end() ? std::string() : found->second;
}

reference_mapping::mapping _read_mapping(const model_device& device, expected_trace& trace) {
    const reference_mapping::reading reading = reference_mapping::read(_slot(device, mapping_slot));
    for (const std::string& report : reading.reports)
        trace.error_of("_parse_stamp_info_mapping", "stamp_info_mapping.cpp", report);
    return reading.stamps;
}

std::string _record_of_one(int slot, const std::string& name) {
    return reference_mapping::write({{static_cast<unsigned int>(slot), name}});
}

std::string _record_without(const model_device& device, int slot) {
    reference_mapping::mapping stamps = reference_mapping::read(_slot(device, mapping_slot)).stamps;
    stamps.erase(static_cast<unsigned int>(slot));
    return reference_mapping::write(stamps);
}

}  // namespace

unsigned int stamp_model::add_device(const model_device& device) {
    devices.push_back(device);
    order_.push_back(static_cast<unsigned int>(devices.size() - 1));
    return order_.back();
}

void stamp_model::unplug(unsigned int device) {
    devices[device].is_plugged = false;
    order_.erase(std::find(order_.begin(), order_.end(), device));
}

void stamp_model::replug(unsigned int device) {
    devices[device].is_plugged = true;
    devices[device].is_logged_in = false;
    devices[device].retries = 5;
    ++devices[device].incarnation;
    order_.push_back(device);
}

expected stamp_model::list(const list_filter& filter,
                           std::optional<std::vector<model_stamp>>& found) {
    forget_change();
    expected_trace trace("VemraAppStampGetAllStamps");
    trace.input("`type`            ", std::to_string(filter.type))
        .input("`device_sn`       ", filter.serial.value_or("(null)"))
        .input("`device_sn_length`", std::to_string(filter.serial.value_or("").size()))
        .input("`device_type`     ", std::to_string(filter.device_type));
    if (filter.type < -1 || filter.type > 1) return trace.returns(-4);
    if (order_.empty()) return trace.error("No device.").returns(0);

    found.emplace();
    for (const unsigned int number : order_) {
        const model_device& device = devices[number];
        if (filter.serial && *filter.serial != device.serial) continue;
        if (filter.device_type != -1 && filter.device_type != device.type) continue;
        if (filter.type != 0) list_device(number, trace, *found);
    }
    return trace.returns(1);
}

void stamp_model::list_device(unsigned int number, expected_trace& trace,
                              std::vector<model_stamp>& found) {
    const model_device& device = devices[number];
    if (!_has_data(device, mapping_slot)) {
        trace.debug("No image stamp in device: " + device.serial + ".");
        return;
    }
    const unsigned long object = ++objects_made_;
    for (const auto& [id, name] : _read_mapping(device, trace)) {
        const int slot_id = static_cast<int>(id);
        if (slot_id < first_slot || slot_id > last_slot) {
            trace.error("Invalid id of the storage of stamp: " + std::to_string(slot_id) +
                        ", skip it.");
            continue;
        }
        const std::string uuid = uuid_of(device, slot_id);
        trace.verbose("uuid: " + hex_text(uuid));
        found.push_back({uuid, name, _slot(device, slot_id)});
        known.insert({uuid, {number, device.incarnation, slot_id, object}});
    }
}

expected stamp_model::append(const std::string& serial, int type, const char* password,
                             const stamp_to_store& stamp) {
    forget_change();
    expected_trace trace("VemraAppStampAppendStamp");
    trace.input("`device_sn`       ", serial)
        .input("`device_sn_length`", std::to_string(serial.size()))
        .input("`device_type`     ", std::to_string(type))
        .input("`password`        ", password == nullptr ? "(null)" : password)
        .input("`stamp`           ", "PTR");
    if (order_.empty()) return trace.error("No device.").returns(0);
    const auto match = std::find_if(order_.begin(), order_.end(), [&](unsigned int number) {
        return devices[number].serial == serial && devices[number].type == type;
    });
    if (match == order_.end()) {
        return trace.error("Unable to find a matched device by given serial number.").returns(0);
    }

    model_device& device = devices[*match];
    _verify(device, true, password, trace);
    if (stamp.type != 1) return trace.returns(-4);
    reference_mapping::mapping stamps = _read_mapping(device, trace);
    const std::optional<int> chosen = _lowest_free_slot(stamps);
    misread_changes = {{*match, first_slot, stamp.bytes, _record_of_one(first_slot, stamp.name)}};
    if (!chosen) {
        return trace
            .error(
                "No more storage space to store the stamp, storage from 8130 to 8134 are all "
                "occupied.")
            .returns(-7);
    }
    stamps[static_cast<unsigned int>(*chosen)] = stamp.name;
    change = {*match, *chosen, stamp.bytes, reference_mapping::write(stamps)};
    failure failed = _write(device, *chosen, stamp.bytes);
    if (!failed) failed = _write(device, mapping_slot, change->record);
    if (failed) {
        return trace.error("Unable to append a new stamp, because: " + *failed + ".").returns(0);
    }
    return trace.returns(1);
}

expected stamp_model::update(const std::string& uuid, const char* password,
                             const stamp_to_store& stamp) {
    forget_change();
    expected_trace trace("VemraAppStampUpdateStamp");
    trace.input("`uuid`     ", hex_text(uuid))
        .input("`uuid_size`", std::to_string(uuid.size()))
        .input("`password` ", password == nullptr ? "(null)" : password)
        .input("`stamp`    ", "PTR");
    if (uuid.empty()) return trace.error("Bad uuid.").returns(0);
    const auto found = known.find(uuid);
    if (found == known.end()) {
        return trace.error("Unable to find a device by this uuid.").returns(0);
    }

    const model_place& place = found->second;
    model_device& device = devices[place.device];
    _verify(device, is_reachable(place), password, trace);
    if (stamp.type != 1) return trace.returns(-4);
    if (!is_reachable(place)) {
        return trace
            .error("Unable to get stamp info from 8127, because: " +
                   failure_text(removed, get_length_line) + ".")
            .returns(0);
    }
    reference_mapping::mapping stamps = _read_mapping(device, trace);
    stamps[static_cast<unsigned int>(place.slot)] = stamp.name;
    change = {place.device, place.slot, stamp.bytes, reference_mapping::write(stamps)};
    misread_changes = {
        {place.device, place.slot, stamp.bytes, _record_of_one(place.slot, stamp.name)}};
    failure failed = _write(device, place.slot, stamp.bytes);
    if (!failed) failed = _write(device, mapping_slot, change->record);
    if (failed) return trace.error("Unable to update stamp, because: " + *failed + ".").returns(0);
    return trace.returns(1);
}

expected stamp_model::remove(const std::string& uuid, const char* password) {
    forget_change();
    expected_trace trace("VemraAppStampDeleteStamp");
    trace.input("`uuid`     ", hex_text(uuid))
        .input("`uuid_size`", std::to_string(uuid.size()))
        .input("`password` ", password == nullptr ? "(null)" : password);
    if (uuid.empty()) return trace.error("Bad uuid.").returns(0);
    const auto found = known.find(uuid);
    if (found == known.end()) {
        return trace.error("Unable to find a device by this uuid.").returns(0);
    }

    const model_place& place = found->second;
    model_device& device = devices[place.device];
    _verify(device, is_reachable(place), password, trace);
    if (!is_reachable(place)) {
        return trace
            .error("Unable to get stamp data from " + std::to_string(place.slot) +
                   ", because: " + failure_text(removed, get_length_line) + ".")
            .returns(0);
    }
    change = {place.device, place.slot, {}, _slot(device, mapping_slot)};
    misread_changes = {{place.device, place.slot, {}, reference_mapping::write({})},
                       {place.device, place.slot, {}, _record_without(device, place.slot)}};
    if (!_is_sealed(_slot(device, place.slot))) {
        _read_mapping(device, trace);
        change->record = _record_without(device, place.slot);
        const failure failed = _write(device, mapping_slot, change->record);
        if (failed) {
            return trace.error("Unable to delete stamp info from 8127, because: " + *failed + ".")
                .returns(0);
        }
    }
    const failure failed = _remove(device, place.slot);
    if (failed) return trace.error("Unable to delete stamp, because: " + *failed + ".").returns(0);
    return trace.returns(1);
}

expected stamp_model::ask_owner(const std::string& uuid, std::optional<model_device>& owner) {
    forget_change();
    expected_trace trace("VemraAppStampGetStampOwnDevice");
    trace.input("`handle`                 ", "PTR")
        .input("`output_device_sn`       ", "PTR")
        .input("`output_device_sn_length`", "PTR")
        .input("`output_device_type`     ", "PTR");
    const model_place& place = known.at(uuid);
    if (!is_reachable(place)) {
        return trace
            .error("Unable to get device info from this stamp, because: " +
                   failure_text(removed, get_type_line) + ".")
            .returns(0);
    }
    owner = devices[place.device];
    return trace.returns(1);
}

void stamp_model::forget_change() {
    change.reset();
    misread_changes.clear();
}

std::set<unsigned long> stamp_model::live_objects() const {
    std::set<unsigned long> objects;
    for (const auto& [uuid, place] : known)
        objects.insert(place.object);
    return objects;
}

std::string stamp_model::uuid_of(const model_device& device, int slot) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : device.serial + _little_endian(device.type) + _little_endian(slot)) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    }
    std::string digest;
    for (int i = 0; i < 8; ++i, hash /= 256)
        digest.insert(digest.begin(), static_cast<char>(hash % 256));
    return digest;
}

bool stamp_model::is_reachable(const model_place& place) const {
    const model_device& device = devices[place.device];
    return device.is_plugged && device.incarnation == place.incarnation;
}
