#include <algorithm>
#include <cstring>

#include "fast_hex.h"
#include "floor_device.h"
#include "program.h"

/*
 * The floor: what no stamp library can save. It makes the same device calls, zero-fills and copies
 * in straight lines, prints the same trace with one ready format a line, and does nothing else.
 */

#define TRACE(function, message, ...) \
    std::printf(" [VERBOSE]  [" function "] " message "\n", __VA_ARGS__)
#define ENTER(function) TRACE(function, ">>>> %s", function)
#define LEAVE(function) TRACE(function, "<<<< %s", function)

namespace bench {

namespace {

using device_handle = VEMRA_PKI_DEVICE_HANDLE_st*;

struct listed_stamp {
    device_handle device;
    std::string name;
    uuid_block uuid;
    block data;
};

struct taken_stamp {
    block name;
    block uuid;
    block data;
};

// A password or serial number that was not given; volatile, or the compiler objects to printing it.
const char* volatile no_text = nullptr;
thread_local int last_status = 1;

std::unique_ptr<char[]> _hex_of(const unsigned char* bytes, std::size_t size) {
    std::unique_ptr<char[]> digits(new char[2 * size + 1]);
    fast_hex(bytes, size, digits.get());
    digits[2 * size] = '\0';
    return digits;
}

void _list_device(device_handle device, std::vector<listed_stamp>& stamps) {
    VemraPKICryptoGetType(device);
    serial_of(device);
    if (length_of(device, mapping_slot) == 0) return;
    for (auto& [slot, name] : read_mapping(device)) {
        const block read = read_slot(device, slot);
        uuid_block uuid = uuid_of(device, slot);
        TRACE("VemraAppStampGetAllStamps", "uuid: %s", _hex_of(uuid.bytes.get(), uuid.size).get());
        stamps.push_back(
            {device, std::move(name), std::move(uuid), copy_of(read.bytes.get(), read.size)});
    }
}

std::vector<listed_stamp> _list() {
    ENTER("VemraAppStampGetAllStamps");
    TRACE("VemraAppStampGetAllStamps", "Input `type`            : %d", -1);
    TRACE("VemraAppStampGetAllStamps", "Input `device_sn`       : %s", no_text);
    TRACE("VemraAppStampGetAllStamps", "Input `device_sn_length`: %u", 0U);
    TRACE("VemraAppStampGetAllStamps", "Input `device_type`     : %d", -1);
    const std::vector<device_handle> devices = open_devices();
    std::vector<listed_stamp> stamps;
    for (device_handle device : devices)
        _list_device(device, stamps);
    close_devices(devices);
    last_status = 1;
    LEAVE("VemraAppStampGetAllStamps");
    return stamps;
}

void _count(const std::vector<listed_stamp>& stamps, unsigned int* count) {
    ENTER("VemraAppStampGetStampCount");
    TRACE("VemraAppStampGetStampCount", "Input `handle`: %p", static_cast<const void*>(&stamps));
    TRACE("VemraAppStampGetStampCount", "Input `count` : %p", static_cast<void*>(count));
    *count = static_cast<unsigned int>(stamps.size());
    last_status = 1;
    LEAVE("VemraAppStampGetStampCount");
}

taken_stamp _take(const std::vector<listed_stamp>& stamps, unsigned int index) {
    taken_stamp taken;
    ENTER("VemraAppStampGetStamp");
    TRACE("VemraAppStampGetStamp", "Input `handle`          : %p",
          static_cast<const void*>(&stamps));
    TRACE("VemraAppStampGetStamp", "Input `index`           : %u", index);
    TRACE("VemraAppStampGetStamp", "Input `output_uuid`     : %p", static_cast<void*>(&taken.uuid));
    TRACE("VemraAppStampGetStamp", "Input `output_uuid_size`: %p", static_cast<void*>(&index));
    TRACE("VemraAppStampGetStamp", "Input `output_stamp`    : %p", static_cast<void*>(&taken));
    const listed_stamp& stamp = stamps[index];
    const block encoded = copy_of(stamp.data.bytes.get(), stamp.data.size);
    taken.data = zeroed_copy_of(encoded.bytes.get(), encoded.size);
    taken.name = zeroed_copy_of(reinterpret_cast<const unsigned char*>(stamp.name.c_str()),
                                stamp.name.size() + 1);
    taken.uuid = zeroed_copy_of(stamp.uuid.bytes.get(), stamp.uuid.size);
    last_status = 1;
    LEAVE("VemraAppStampGetStamp");
    return taken;
}

void _free_memory(block& memory) {
    ENTER("VemraAppStampFreeMemory");
    TRACE("VemraAppStampFreeMemory", "Input `mem`: %p", static_cast<void*>(memory.bytes.get()));
    memory.bytes.reset();
    last_status = 1;
    LEAVE("VemraAppStampFreeMemory");
}

void _free_stamp(taken_stamp& taken) {
    _free_memory(taken.name);
    ENTER("VemraAppStampFreeStamp");
    TRACE("VemraAppStampFreeStamp", "Input `handle`: %p", static_cast<void*>(&taken));
    std::printf(" [DEBUG]    [VemraAppStampFreeStamp] Free stamp data.\n");
    taken.data.bytes.reset();
    last_status = 1;
    LEAVE("VemraAppStampFreeStamp");
}

void _free_stamps(std::vector<listed_stamp>& stamps) {
    ENTER("VemraAppStampFreeStamps");
    TRACE("VemraAppStampFreeStamps", "Input `handle`: %p", static_cast<void*>(&stamps));
    stamps.clear();
    last_status = 1;
    LEAVE("VemraAppStampFreeStamps");
}

int _free_slot(const slot_names& names) {
    int slot = first_slot;
    for (const auto& entry : names) {
        if (entry.first == slot) ++slot;
    }
    require(slot <= last_slot, "no free slot");
    return slot;
}

void _write_stamp(device_handle device, int slot, const VEMRA_APP_STAMP_RECORD& stored) {
    write_slot(device, slot, stored.data, static_cast<int>(stored.data_length));
}

class floor_program : public program {
public:
    floor_program() : serial_(serial_number(0)), devices_(open_devices()) {
        first_uuid_ = uuid_of(devices_.front(), first_slot);
        last_uuid_ = uuid_of(devices_.front(), last_slot);
        std::vector<listed_stamp> stamps = _list();
        first_ = _take(stamps, 0);
        first_name_ = stamps[0].name;
    }

    ~floor_program() override { close_devices(devices_); }
    floor_program(const floor_program&) = delete;
    floor_program& operator=(const floor_program&) = delete;

    void list_and_take() override {
        std::vector<listed_stamp> stamps = _list();
        unsigned int count = 0;
        _count(stamps, &count);
        require(count >= stamps_per_device, "too few stamps");
        for (unsigned int i = 0; i < count; ++i) {
            taken_stamp taken = _take(stamps, i);
            _free_memory(taken.uuid);
            _free_stamp(taken);
        }
        _free_stamps(stamps);
    }

    void read_type() override;
    void read_name() override;
    void read_owner() override;
    void read_data() override;
    void append(const picture& stored) override;
    void update(const picture& stored) override;
    void remove() override;

private:
    std::string serial_;
    std::vector<device_handle> devices_;
    uuid_block first_uuid_;
    uuid_block last_uuid_;
    taken_stamp first_;
    std::string first_name_;
};

void floor_program::read_type() {
    int type = 0;
    ENTER("VemraAppStampGetStampType");
    TRACE("VemraAppStampGetStampType", "Input `handle`: %p", static_cast<void*>(&first_));
    TRACE("VemraAppStampGetStampType", "Input `type`  : %p", static_cast<void*>(&type));
    type = VEMRA_APP_STAMP_TYPE_IMAGE;
    last_status = 1;
    LEAVE("VemraAppStampGetStampType");
}

void floor_program::read_name() {
    block name;
    ENTER("VemraAppStampGetStampName");
    TRACE("VemraAppStampGetStampName", "Input `handle`       : %p", static_cast<void*>(&first_));
    TRACE("VemraAppStampGetStampName", "Input `output_string`: %p", static_cast<void*>(&name));
    TRACE("VemraAppStampGetStampName", "Input `output_size`  : %p", static_cast<void*>(&name.size));
    const auto* text = reinterpret_cast<const unsigned char*>(first_name_.c_str());
    TRACE("VemraAppStampGetStampName", "Length of stamp name: %lld.",
          static_cast<long long>(first_name_.size()));
    TRACE("VemraAppStampGetStampName", "Name of stamp: %.*s.", static_cast<int>(first_name_.size()),
          first_name_.c_str());
    name = zeroed_copy_of(text, first_name_.size() + 1);
    last_status = 1;
    LEAVE("VemraAppStampGetStampName");
    _free_memory(name);
}

void floor_program::read_owner() {
    block serial;
    int type = 0;
    ENTER("VemraAppStampGetStampOwnDevice");
    TRACE("VemraAppStampGetStampOwnDevice", "Input `handle`                 : %p",
          static_cast<void*>(&first_));
    TRACE("VemraAppStampGetStampOwnDevice", "Input `output_device_sn`       : %p",
          static_cast<void*>(&serial));
    TRACE("VemraAppStampGetStampOwnDevice", "Input `output_device_sn_length`: %p",
          static_cast<void*>(&serial.size));
    TRACE("VemraAppStampGetStampOwnDevice", "Input `output_device_type`     : %p",
          static_cast<void*>(&type));
    const std::string text = serial_of(devices_.front());
    type = VemraPKICryptoGetType(devices_.front());
    serial = zeroed_copy_of(reinterpret_cast<const unsigned char*>(text.c_str()), text.size() + 1);
    last_status = 1;
    LEAVE("VemraAppStampGetStampOwnDevice");
    _free_memory(serial);
}

void floor_program::read_data() {
    block data;
    ENTER("VemraAppStampGetStampData");
    TRACE("VemraAppStampGetStampData", "Input `handle`      : %p", static_cast<void*>(&first_));
    TRACE("VemraAppStampGetStampData", "Input `output_bytes`: %p", static_cast<void*>(&data));
    TRACE("VemraAppStampGetStampData", "Input `output_size` : %p", static_cast<void*>(&data.size));
    TRACE("VemraAppStampGetStampData", "Size of stamp: %lld bytes.",
          static_cast<long long>(first_.data.size));
    TRACE("VemraAppStampGetStampData", "Data of stamp: %s.",
          _hex_of(first_.data.bytes.get(), first_.data.size).get());
    data = zeroed_copy_of(first_.data.bytes.get(), first_.data.size);
    last_status = 1;
    LEAVE("VemraAppStampGetStampData");
    _free_memory(data);
}

void floor_program::append(const picture& stored) {
    const VEMRA_APP_STAMP_RECORD& record = stored.record();
    ENTER("VemraAppStampAppendStamp");
    TRACE("VemraAppStampAppendStamp", "Input `device_sn`       : %s", serial_.c_str());
    TRACE("VemraAppStampAppendStamp", "Input `device_sn_length`: %u",
          static_cast<unsigned int>(serial_.size()));
    TRACE("VemraAppStampAppendStamp", "Input `device_type`     : %d", device_type);
    TRACE("VemraAppStampAppendStamp", "Input `password`        : %s", no_text);
    TRACE("VemraAppStampAppendStamp", "Input `stamp`           : %p",
          static_cast<const void*>(&record));
    const std::vector<device_handle> devices = open_devices();
    const auto found = std::find_if(devices.begin(), devices.end(), [this](device_handle device) {
        return serial_of(device) == serial_ && VemraPKICryptoGetType(device) == device_type;
    });
    require(found != devices.end(), "no such device");
    slot_names names = read_mapping(*found);
    const int slot = _free_slot(names);
    names.emplace_back(slot, std::string(record.name, record.name_length));
    _write_stamp(*found, slot, record);
    write_mapping(*found, names);
    close_devices(devices);
    last_status = 1;
    LEAVE("VemraAppStampAppendStamp");
}

void floor_program::update(const picture& stored) {
    const VEMRA_APP_STAMP_RECORD& record = stored.record();
    device_handle device = devices_.front();
    ENTER("VemraAppStampUpdateStamp");
    TRACE("VemraAppStampUpdateStamp", "Input `uuid`     : %s",
          _hex_of(first_uuid_.bytes.get(), first_uuid_.size).get());
    TRACE("VemraAppStampUpdateStamp", "Input `uuid_size`: %u",
          static_cast<unsigned int>(first_uuid_.size));
    TRACE("VemraAppStampUpdateStamp", "Input `password` : %s", no_text);
    TRACE("VemraAppStampUpdateStamp", "Input `stamp`    : %p", static_cast<const void*>(&record));
    slot_names names = read_mapping(device);
    names.front().second.assign(record.name, record.name_length);
    _write_stamp(device, first_slot, record);
    write_mapping(device, names);
    last_status = 1;
    LEAVE("VemraAppStampUpdateStamp");
}

void floor_program::remove() {
    device_handle device = devices_.front();
    ENTER("VemraAppStampDeleteStamp");
    TRACE("VemraAppStampDeleteStamp", "Input `uuid`     : %s",
          _hex_of(last_uuid_.bytes.get(), last_uuid_.size).get());
    TRACE("VemraAppStampDeleteStamp", "Input `uuid_size`: %u",
          static_cast<unsigned int>(last_uuid_.size));
    TRACE("VemraAppStampDeleteStamp", "Input `password` : %s", no_text);
    read_slot(device, last_slot);
    slot_names names = read_mapping(device);
    require(!names.empty() && names.back().first == last_slot, "no last stamp");
    names.pop_back();
    write_mapping(device, names);
    delete_slot(device, last_slot);
    last_status = 1;
    LEAVE("VemraAppStampDeleteStamp");
}

}  // namespace

std::unique_ptr<program> make_floor_program() {
    return std::make_unique<floor_program>();
}

}  // namespace bench
