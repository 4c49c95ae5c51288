#include "device_module/stamp_library.h"

#include <optional>

namespace vemra::tool {

namespace {

std::optional<device_id> _owner_of(const VEMRA_APP_STAMP_RECORD& record) {
    char* serial = nullptr;
    unsigned int length = 0;
    device_id device;
    if (VemraAppStampGetStampOwnDevice(&record, &serial, &length, &device.type) != 1) {
        return std::nullopt;
    }
    const buffer_owner<char> serial_owner(serial);
    if (serial != nullptr) device.serial.assign(serial, length);
    return device;
}

std::optional<stamp> _read_stamp(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index) {
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* taken = nullptr;
    if (VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &taken) != 1) return std::nullopt;
    const buffer_owner<unsigned char> uuid_owner(uuid);
    const record_owner record(taken);

    const std::optional<device_id> device = _owner_of(*record);
    if (!device) return std::nullopt;
    stamp one;
    one.uuid.assign(reinterpret_cast<const char*>(uuid), uuid_size);
    one.name.assign(record->name, record->name_length);
    // Read from the record: the accessor would print every byte on the trace.
    one.data =
        shared_bytes(std::string(reinterpret_cast<const char*>(record->data), record->data_length));
    one.device = *device;
    return one;
}

}  // namespace

stamp_list read_stamps(VEMRA_APP_STAMP_SET_HANDLE set) {
    stamp_list list;
    unsigned int count = 0;
    list.status = VemraAppStampGetStampCount(set, &count);
    for (unsigned int i = 0; i < count; ++i) {
        std::optional<stamp> one = _read_stamp(set, i);
        if (one)
            list.stamps.push_back(std::move(*one));
        else
            ++list.unreadable;
    }
    return list;
}

// The interface only reads what it is given; its fields are not const.
VEMRA_APP_STAMP_RECORD make_record(const std::string& name, const std::string& data) {
    VEMRA_APP_STAMP_RECORD record{};
    record.type = VEMRA_APP_STAMP_TYPE_IMAGE;
    record.name_length = static_cast<unsigned int>(name.size());
    record.name = const_cast<char*>(name.c_str());
    record.data_length = data.size();
    record.data = reinterpret_cast<unsigned char*>(const_cast<char*>(data.data()));
    return record;
}

}  // namespace vemra::tool
