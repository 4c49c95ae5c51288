#include "model/random_use.h"

#include <stdexcept>
#include <utility>

#include "support/hex_text.h"

namespace {

constexpr int mapping_slot = 8127;

VEMRA_APP_STAMP_RECORD _record_of(stamp_to_store& stamp) {
    VEMRA_APP_STAMP_RECORD record{};
    record.type = stamp.type;
    record.name_length = static_cast<unsigned int>(stamp.name.size());
    record.data_length = stamp.bytes.size();
    record.data = reinterpret_cast<unsigned char*>(stamp.bytes.data());
    record.name = stamp.name.data();
    return record;
}

const unsigned char* _unsigned(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

// One write in eight has the type that cannot be stored.
stamp_to_store _stamp_of(const step& one) {
    return {one.pick % 8 == 7 ? 0 : 1, name_of(one.text), bytes_of(one.bytes)};
}

expected _freed_memory() {
    return expected_trace("VemraAppStampFreeMemory").input("`mem`", "PTR").returns(1);
}

}  // namespace

random_use::random_use(const std::vector<unsigned char>& devices, const std::string& serials,
                       listener listen)
    : listen_(std::move(listen)), contents_(devices.size()) {
    for (unsigned int i = 0; i < devices.size(); ++i) {
        const content& start = content_of(devices[i]);
        model_device device;
        device.label = "device " + std::to_string(i);
        // The fourth device has the first one's serial number and another type.
        device.serial = serials + "-" + std::to_string(i % 3);
        device.type = static_cast<int>(i) + 1;
        device.needs_login = needs_login(devices[i]);
        device.slots.insert(start.slots.begin(), start.slots.end());
        if (start.has_record) {
            const std::string empty = reference_mapping::write({});
            std::string record = empty + start.body;
            record[0] = static_cast<char>(record.size());
            device.slots[mapping_slot] = record;
        }
        for (const auto& slot : device.slots)
            contents_[i].insert(slot.second);
        // Of other programs.
        device.slots.insert({{0, "the first"}, {8126, "a neighbour"}, {9000, "far away"}});
        add_to_fake(model_.add_device(device));
    }
}

random_use::~random_use() {
    listen_([this] {
        for (const held_record& held : records_) {
            VemraAppStampFreeMemory(held.record->name);
            VemraAppStampFreeStamp(held.record);
        }
        for (const held_set& held : sets_)
            VemraAppStampFreeStamps(held.handle);
    });
}

std::string random_use::perform(const step& one) {
    if (fault_) {
        before_ = model_;
        if (has_struck_) schedule_fault();
    }
    has_struck_ = false;
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
        default:
            return replug(one);
    }
}

void random_use::begin_fault(const step_fault& scheduled) {
    fault_ = scheduled;
    has_struck_ = false;
    schedule_fault();
}

// Anew once it has struck: a lasting one from the next call on, a transient one no more.
void random_use::schedule_fault() {
    fake_.clear_faults();
    if (has_struck_ && !fault_->what.is_lasting) return;
    fake_.fail_function(fault_->function, has_struck_ ? 1 : fault_->nth, fault_->what);
}

std::string random_use::end_fault() {
    fake_.clear_faults();
    fault_.reset();
    if (are_objects_counted_) return {};

    // What a struck list made known is known to the model after a whole one.
    const std::string listing = perform({step::list, 0, 0, 0, 0});
    are_objects_counted_ = true;
    extra_objects_ = fake_.live_devices() - static_cast<int>(model_.live_objects().size());
    return listing.empty() ? listing : "after the fault: " + listing;
}

std::string random_use::end() {
    std::string difference = end_fault();
    while (difference.empty() && !records_.empty())
        difference = perform({step::free_stamp, 0, 0, 0, 0});
    while (difference.empty() && !sets_.empty())
        difference = perform({step::free_set, 0, 0, 0, 0});
    return difference;
}

std::string random_use::list(const step& one) {
    list_filter filter;
    if (one.pick % 8 == 4) filter.type = 1;
    if (one.pick % 8 == 5) filter.type = 0;
    if (one.pick % 8 == 6) filter.type = 2;
    if (one.text % 4 == 2) filter.serial = model_.devices[device_of(one)].serial;
    if (one.text % 4 == 3) filter.device_type = model_.devices[device_of(one)].type;

    std::optional<std::vector<model_stamp>> found;
    const expected wanted = model_.list(filter, found);
    VEMRA_APP_STAMP_SET_HANDLE handle = nullptr;
    const char* serial = filter.serial ? filter.serial->c_str() : nullptr;
    const auto length = static_cast<unsigned int>(filter.serial.value_or("").size());
    const std::string difference = compare(wanted, [&] {
        handle = VemraAppStampGetAllStamps(filter.type, serial, length, filter.device_type);
        // The last status, compared in any case, tells the ways to fail apart.
        return handle != nullptr ? 1 : wanted.status == 1 ? 0 : wanted.status;
    });
    if (has_struck_ && handle != nullptr) {
        listen_([&] { VemraAppStampFreeStamps(handle); });
    } else if (handle != nullptr) {
        sets_.push_back({handle, found.value_or(std::vector<model_stamp>())});
    }
    return difference;
}

std::string random_use::take(const step& one) {
    if (sets_.empty()) return {};
    const held_set& set = sets_[one.pick % sets_.size()];
    const std::size_t index = one.text % (set.stamps.size() + 1);
    const expected wanted = expected_trace("VemraAppStampGetStamp")
                                .input("`handle`          ", "PTR")
                                .input("`index`           ", std::to_string(index))
                                .input("`output_uuid`     ", "PTR")
                                .input("`output_uuid_size`", "PTR")
                                .input("`output_stamp`    ", "PTR")
                                .returns(index < set.stamps.size() ? 1 : -5);
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    const std::string difference = compare(wanted, [&] {
        return VemraAppStampGetStamp(set.handle, static_cast<unsigned int>(index), &uuid,
                                     &uuid_size, &record);
    });
    if (record == nullptr) return difference;

    records_.push_back({record, set.stamps[index]});
    const std::string actual(reinterpret_cast<const char*>(uuid), uuid_size);
    const std::string freed =
        compare(_freed_memory(), [uuid] { return VemraAppStampFreeMemory(uuid); });
    if (!difference.empty() || !freed.empty()) return difference + freed;
    if (actual != records_.back().stamp.uuid) return "another uuid: " + hex_text(actual);
    return read(records_.back());
}

std::string random_use::read(const held_record& held) {
    int type = 7;
    std::string difference = compare(expected_trace("VemraAppStampGetStampType")
                                         .input("`handle`", "PTR")
                                         .input("`type`  ", "PTR")
                                         .returns(1),
                                     [&] { return VemraAppStampGetStampType(held.record, &type); });
    if (!difference.empty()) return difference;
    if (type != 1) return "type " + std::to_string(type);

    char* name = nullptr;
    unsigned int name_length = 0;
    difference = compare(
        expected_trace("VemraAppStampGetStampName")
            .input("`handle`       ", "PTR")
            .input("`output_string`", "PTR")
            .input("`output_size`  ", "PTR")
            .verbose("Length of stamp name: " + std::to_string(held.stamp.name.size()) + ".")
            .verbose("Name of stamp: " + held.stamp.name + ".")
            .returns(1),
        [&] { return VemraAppStampGetStampName(held.record, &name, &name_length); });
    if (!difference.empty()) return difference;
    const std::string actual_name(name);
    if (actual_name != held.stamp.name || name_length != actual_name.size()) {
        return "another name: " + actual_name;
    }
    difference = compare(_freed_memory(), [name] { return VemraAppStampFreeMemory(name); });
    if (!difference.empty()) return difference;

    unsigned char* bytes = nullptr;
    unsigned long long size = 0;
    difference = compare(
        expected_trace("VemraAppStampGetStampData")
            .input("`handle`      ", "PTR")
            .input("`output_bytes`", "PTR")
            .input("`output_size` ", "PTR")
            .verbose("Size of stamp: " + std::to_string(held.stamp.bytes.size()) + " bytes.")
            .verbose("Data of stamp: " + hex_text(held.stamp.bytes) + ".")
            .returns(1),
        [&] { return VemraAppStampGetStampData(held.record, &bytes, &size); });
    if (!difference.empty()) return difference;
    if (size == 0 && bytes == nullptr && held.stamp.bytes.empty()) return {};
    const std::string actual(reinterpret_cast<const char*>(bytes), size);
    if (actual != held.stamp.bytes) return "other bytes: " + hex_text(actual);
    return compare(_freed_memory(), [bytes] { return VemraAppStampFreeMemory(bytes); });
}

std::string random_use::ask_owner(const step& one) {
    if (records_.empty()) return {};
    const held_record& held = records_[one.pick % records_.size()];
    std::optional<model_device> owner;
    const expected wanted = model_.ask_owner(held.stamp.uuid, owner);
    char* serial = nullptr;
    unsigned int length = 0;
    int type = 0;
    const std::string difference = compare(wanted, [&] {
        return VemraAppStampGetStampOwnDevice(held.record, &serial, &length, &type);
    });
    const std::string actual(serial == nullptr ? "" : serial);
    if (serial != nullptr) listen_([serial] { VemraAppStampFreeMemory(serial); });
    if (!difference.empty() || has_struck_) return difference;
    if (actual != (owner ? owner->serial : "") || length != actual.size()) {
        return "another owner: " + actual;
    }
    return type == (owner ? owner->type : 0) ? "" : "another type: " + std::to_string(type);
}

std::string random_use::append(const step& one) {
    const model_device& device = model_.devices[device_of(one)];
    const std::string serial = device.serial;
    // One write in sixteen asks for a type that no device has.
    const int type = one.pick / 8 % 16 == 15 ? 99 : device.type;
    const char* password = password_of(one.pick);
    stamp_to_store stamp = _stamp_of(one);
    const expected wanted = model_.append(serial, type, password, stamp);
    return compare(wanted, [&] {
        const VEMRA_APP_STAMP_RECORD record = _record_of(stamp);
        return VemraAppStampAppendStamp(serial.c_str(), static_cast<unsigned int>(serial.size()),
                                        type, password, &record);
    });
}

std::string random_use::update(const step& one) {
    const std::string uuid = uuid_for(one);
    const char* password = password_of(one.pick);
    stamp_to_store stamp = _stamp_of(one);
    const expected wanted = model_.update(uuid, password, stamp);
    return compare(wanted, [&] {
        const VEMRA_APP_STAMP_RECORD record = _record_of(stamp);
        return VemraAppStampUpdateStamp(_unsigned(uuid), static_cast<unsigned int>(uuid.size()),
                                        password, &record);
    });
}

std::string random_use::remove(const step& one) {
    const std::string uuid = uuid_for(one);
    const char* password = password_of(one.pick);
    const expected wanted = model_.remove(uuid, password);
    return compare(wanted, [&] {
        return VemraAppStampDeleteStamp(_unsigned(uuid), static_cast<unsigned int>(uuid.size()),
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
    char* name = held.record->name;
    difference = compare(_freed_memory(), [name] { return VemraAppStampFreeMemory(name); });
    expected_trace wanted("VemraAppStampFreeStamp");
    wanted.input("`handle`", "PTR");
    if (!held.stamp.bytes.empty()) wanted.debug("Free stamp data.");
    return difference +
           compare(wanted.returns(1), [&held] { return VemraAppStampFreeStamp(held.record); });
}

std::string random_use::free_set(const step& one) {
    if (sets_.empty()) return {};
    const auto position = sets_.begin() + one.pick % static_cast<long>(sets_.size());
    VEMRA_APP_STAMP_SET_HANDLE handle = position->handle;
    const std::size_t size = position->stamps.size();
    sets_.erase(position);
    unsigned int count = 77;
    const std::string difference =
        compare(expected_trace("VemraAppStampGetStampCount")
                    .input("`handle`", "PTR")
                    .input("`count` ", "PTR")
                    .returns(1),
                [&] { return VemraAppStampGetStampCount(handle, &count); });
    const expected wanted =
        expected_trace("VemraAppStampFreeStamps").input("`handle`", "PTR").returns(1);
    const std::string freed = compare(wanted, [&] { return VemraAppStampFreeStamps(handle); });
    if (count != size) return "counted " + std::to_string(count) + " stamps";
    return difference + freed;
}

std::string random_use::unplug(const step& one) {
    const unsigned int device = device_of(one);
    if (!model_.devices[device].is_plugged) return {};
    // What a struck list made known of the device must be known to the model before it is gone.
    const std::string difference = end_fault();
    fake_.unplug_device(model_.devices[device].label);
    model_.unplug(device);
    return difference;
}

std::string random_use::replug(const step& one) {
    const unsigned int device = device_of(one);
    if (model_.devices[device].is_plugged) return {};
    model_.replug(device);
    fake_.replug_device(model_.devices[device].label);
    return {};
}

void random_use::add_to_fake(unsigned int device) {
    const model_device& added = model_.devices[device];
    fake_.add_device(added.serial, added.type, added.label);
    fake_.set_password(added.label, right_password, added.retries);
    if (added.needs_login) fake_.require_login(added.label);
    for (const auto& [id, bytes] : added.slots)
        fake_.fill_slot(added.label, id, bytes);
}

// A known uuid; now and then an empty one, and one that nothing has.
std::string random_use::uuid_for(const step& one) const {
    if (one.pick / 8 % 16 == 15) return {};
    std::size_t index = one.device % (model_.known.size() + 1);
    for (const auto& [uuid, place] : model_.known) {
        if (index-- == 0) return uuid;
    }
    return "nothing";
}

unsigned int random_use::device_of(const step& one) const {
    return one.device % static_cast<unsigned int>(model_.devices.size());
}
