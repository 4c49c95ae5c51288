#include "model/random_use.h"

#include <stdexcept>
#include <utility>

#include "model/planned_fault.h"
#include "support/hex_text.h"
#include "support/stamp_record.h"

namespace {

constexpr int most_devices = 4;

// One write in eight has the type that cannot be stored.
new_stamp _stamp_of(const step& one) {
    return {name_of(one.text), picture_of(one.bytes), one.pick % 8 == 7 ? 0 : 1};
}

VEMRA_APP_STAMP_RECORD _record_of(new_stamp& stamp) {
    VEMRA_APP_STAMP_RECORD record = image_record(stamp.name, stamp.data);
    record.type = stamp.type;
    return record;
}

std::shared_ptr<model_device> _device(int number, const content& start, int use) {
    auto device = std::make_shared<model_device>();
    device->label = "device " + std::to_string(number);
    // The fourth device has the first one's serial number and another type.
    device->serial = "R" + std::to_string(use) + "-" + std::to_string(number % 3);
    device->type = use * most_devices + number + 1;
    device->slots.insert(start.slots.begin(), start.slots.end());
    if (start.has_record) {
        std::string record = reference_mapping::write({}) + start.body;
        record[0] = static_cast<char>(record.size());
        device->slots[mapping_slot] = record;
    }
    // Of other programs.
    device->slots.insert({{0, "the first"}, {8126, "a neighbour"}, {9000, "far away"}});
    return device;
}

}  // namespace

random_use::random_use(const std::vector<unsigned char>& devices, int use, listener listen)
    : listen_(std::move(listen)) {
    for (const unsigned char number : devices) {
        const auto device = _device(static_cast<int>(labels_.size()), content_of(number), use);
        device->needs_login = needs_login(number);
        fake_.add_device(device->serial, device->type, device->label);
        if (device->needs_login) fake_.require_login(device->label);
        for (const auto& [id, bytes] : device->slots)
            fake_.fill_slot(device->label, id, bytes);
        labels_.push_back(device->label);
        devices_.attached.push_back(device);
    }
}

random_use::~random_use() {
    listen_([this] {
        for (const held_record& held : records_)
            free_record(held.record);
        for (const held_set& held : sets_)
            VemraAppStampFreeStamps(held.handle);
    });
}

std::string random_use::perform(const step& one) {
    const std::string difference = carry_out(one);
    return difference.empty() ? compare_records() : difference;
}

std::string random_use::carry_out(const step& one) {
    switch (one.what) {
        case step::list:
            return list(one);
        case step::take:
            return take(one);
        case step::ask_owner:
            return ask_owner(one);
        case step::append:
            return append(one);
        case step::update:
            return update(one);
        case step::erase:
            return remove(one);
        case step::free_stamp:
            return free_stamp(one);
        case step::free_set:
            return free_set(one);
        case step::unplug:
            return unplug(one);
        case step::replug:
            return replug(one);
        case step::fault:
            return disturb(disturbance_of(one));
        default:
            return disturb({});
    }
}

std::string random_use::disturb(const planned_disturbance& plan) {
    devices_.plan_next(plan);
    plan_in_fake(fake_, plan);
    return {};
}

std::string random_use::end() {
    std::string difference = disturb({});
    while (difference.empty() && !records_.empty())
        difference = perform({step::free_stamp, 0, 0, 0, 0});
    while (difference.empty() && !sets_.empty())
        difference = perform({step::free_set, 0, 0, 0, 0});
    return difference;
}

std::string random_use::list(const step& one) {
    wanted_stamps wanted;
    if (one.pick % 8 == 4) wanted.type = 1;
    if (one.pick % 8 == 5) wanted.type = 0;
    if (one.pick % 8 == 6) wanted.type = 2;
    if (one.text % 4 == 2) wanted.serial = device_of(one).serial;
    if (one.text % 4 == 3) wanted.device_type = device_of(one).type;

    const seen_call due = model_.list_wanted(wanted);
    VEMRA_APP_STAMP_SET_HANDLE handle = nullptr;
    const char* serial = wanted.serial.empty() ? nullptr : wanted.serial.c_str();
    const auto length = static_cast<unsigned int>(wanted.serial.size());
    const std::string difference = compare(due, [&] {
        handle = VemraAppStampGetAllStamps(wanted.type, serial, length, wanted.device_type);
        // The last status, compared in any case, tells the ways to fail apart.
        return handle != nullptr ? 1 : due.status == 1 ? 0 : due.status;
    });
    if (handle != nullptr) sets_.push_back({handle, due.stamps});
    return difference;
}

std::string random_use::take(const step& one) {
    if (sets_.empty()) return {};
    const held_set& set = sets_[one.pick % sets_.size()];
    const std::size_t index = one.text % (set.stamps.size() + 1);
    model_.hold(set.stamps, index);
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    const std::string difference = compare(model_.plain(plain_function::get_stamp), [&] {
        return VemraAppStampGetStamp(set.handle, static_cast<unsigned int>(index), &uuid,
                                     &uuid_size, &record);
    });
    if (record == nullptr) return difference;

    records_.push_back({record, set.stamps[index]});
    const std::string actual(reinterpret_cast<const char*>(uuid), uuid_size);
    const std::string freed = free_memory(uuid);
    if (!difference.empty() || !freed.empty()) return difference + freed;
    if (actual != records_.back().stamp.uuid) return "another uuid: " + hex_text(actual);
    return read(records_.back());
}

std::string random_use::read(const held_record& held) {
    model_.hold(std::vector{held.stamp}, 0);
    int type = 7;
    std::string difference = compare(model_.plain(plain_function::get_stamp_type),
                                     [&] { return VemraAppStampGetStampType(held.record, &type); });
    if (!difference.empty()) return difference;
    if (type != 1) return "type " + std::to_string(type);

    char* name = nullptr;
    unsigned int name_length = 0;
    difference = compare(model_.plain(plain_function::get_stamp_name), [&] {
        return VemraAppStampGetStampName(held.record, &name, &name_length);
    });
    if (!difference.empty()) return difference;
    const std::string actual_name(name);
    if (actual_name != held.stamp.name || name_length != actual_name.size()) {
        return "another name: " + actual_name;
    }
    difference = free_memory(name);
    if (!difference.empty()) return difference;

    model_.hold(std::vector{held.stamp}, 0);
    unsigned char* bytes = nullptr;
    unsigned long long size = 0;
    difference = compare(model_.plain(plain_function::get_stamp_data),
                         [&] { return VemraAppStampGetStampData(held.record, &bytes, &size); });
    if (!difference.empty()) return difference;
    if (size == 0 && bytes == nullptr && held.stamp.data.empty()) return {};
    const std::string actual(reinterpret_cast<const char*>(bytes), size);
    if (actual != held.stamp.data) return "other bytes: " + hex_text(actual);
    return free_memory(bytes);
}

std::string random_use::free_memory(void* memory) {
    model_.hold(std::vector<seen_stamp>(1), 0);
    return compare(model_.plain(plain_function::free_memory),
                   [memory] { return VemraAppStampFreeMemory(memory); });
}

std::string random_use::ask_owner(const step& one) {
    if (records_.empty()) return {};
    const held_record& held = records_[one.pick % records_.size()];
    const seen_call wanted = model_.own_device_of(held.stamp.uuid);
    char* serial = nullptr;
    unsigned int length = 0;
    int type = 0;
    const std::string difference = compare(wanted, [&] {
        return VemraAppStampGetStampOwnDevice(held.record, &serial, &length, &type);
    });
    const std::string actual(serial == nullptr ? "" : serial);
    if (!difference.empty()) return difference;
    if (actual != wanted.owner_serial || length != actual.size()) return "another owner: " + actual;
    if (type != wanted.owner_type) return "another type: " + std::to_string(type);
    if (serial == nullptr) return {};
    return free_memory(serial);
}

std::string random_use::append(const step& one) {
    const model_device& device = device_of(one);
    const std::string serial = device.serial;
    // One write in sixteen asks for a type that no device has.
    const int type = one.pick / 8 % 16 == 15 ? 0 : device.type;
    const char* password = password_of(one.pick);
    new_stamp stamp = _stamp_of(one);
    const seen_call wanted = model_.append(serial, type, password, stamp);
    return compare(wanted, [&] {
        const VEMRA_APP_STAMP_RECORD record = _record_of(stamp);
        return VemraAppStampAppendStamp(serial.c_str(), static_cast<unsigned int>(serial.size()),
                                        type, password, &record);
    });
}

std::string random_use::update(const step& one) {
    const std::string uuid = uuid_for(one);
    const char* password = password_of(one.pick);
    new_stamp stamp = _stamp_of(one);
    const seen_call wanted = model_.update(uuid, password, stamp);
    return compare(wanted, [&] {
        const VEMRA_APP_STAMP_RECORD record = _record_of(stamp);
        return VemraAppStampUpdateStamp(bytes_of(uuid), static_cast<unsigned int>(uuid.size()),
                                        password, &record);
    });
}

std::string random_use::remove(const step& one) {
    const std::string uuid = uuid_for(one);
    const char* password = password_of(one.pick);
    const seen_call wanted = model_.remove(uuid, password);
    return compare(wanted, [&] {
        return VemraAppStampDeleteStamp(bytes_of(uuid), static_cast<unsigned int>(uuid.size()),
                                        password);
    });
}

std::string random_use::free_stamp(const step& one) {
    if (records_.empty()) return {};
    const auto position = records_.begin() + one.pick % static_cast<long>(records_.size());
    const held_record held = *position;
    std::string difference = read(held);
    if (!difference.empty()) return difference;
    records_.erase(position);
    difference = free_memory(held.record->name);
    model_.hold(std::vector{held.stamp}, 0);
    return difference + compare(model_.plain(plain_function::free_stamp),
                                [&held] { return VemraAppStampFreeStamp(held.record); });
}

std::string random_use::free_set(const step& one) {
    if (sets_.empty()) return {};
    const auto position = sets_.begin() + one.pick % static_cast<long>(sets_.size());
    const held_set held = *position;
    sets_.erase(position);
    model_.hold(held.stamps, 0);
    unsigned int count = 77;
    const std::string difference = compare(model_.plain(plain_function::get_stamp_count), [&] {
        return VemraAppStampGetStampCount(held.handle, &count);
    });
    const std::string freed = compare(model_.plain(plain_function::free_stamps),
                                      [&] { return VemraAppStampFreeStamps(held.handle); });
    if (count != held.stamps.size()) return "counted " + std::to_string(count) + " stamps";
    return difference + freed;
}

std::string random_use::unplug(const step& one) {
    const std::string label = device_of(one).label;
    if (!device_of(one).is_plugged) return {};
    fake_.unplug_device(label);
    devices_.unplug(label);
    return {};
}

std::string random_use::replug(const step& one) {
    const std::string label = device_of(one).label;
    if (device_of(one).is_plugged) return {};
    fake_.replug_device(label);
    devices_.replug(label);
    return {};
}

// A known uuid; now and then an empty one, and one that nothing has.
std::string random_use::uuid_for(const step& one) const {
    if (one.pick / 8 % 16 == 15) return {};
    const std::vector<std::string> known = model_.known_uuids();
    const std::size_t index = one.device % (known.size() + 1);
    return index < known.size() ? known[index] : "nothing";
}

const model_device& random_use::device_of(const step& one) const {
    return device_named(labels_[one.device % labels_.size()]);
}

const model_device& random_use::device_named(const std::string& label) const {
    for (const auto* devices : {&devices_.attached, &devices_.pulled})
        for (const auto& device : *devices)
            if (device->label == label) return *device;
    throw std::logic_error("no device " + label);
}
