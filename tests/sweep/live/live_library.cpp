#include "sweep/live/live_library.h"

#include "support/stamp_record.h"
#include "support/stream_capture.h"
#include "sweep/live/watched_call.h"

void live_library::forget_taken() {
    if (taken_.empty()) return;
    const stdout_capture unseen;
    for (VEMRA_APP_STAMP_RECORD* record : taken_)
        if (record != nullptr) free_record(record);
    taken_.clear();
}

void live_library::take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, seen_call& seen) {
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    {
        const counted_scope counted;
        VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &record);
    }
    taken_.push_back(record);
    if (record == nullptr) {
        seen.stamps.push_back({"not taken", {}, {}});
        return;
    }
    seen.stamps.push_back({std::string(reinterpret_cast<const char*>(uuid), uuid_size),
                           std::string(record->name, record->name_length), data_of(*record)});
    VemraAppStampFreeMemory(uuid);
}

void live_library::take_all(VEMRA_APP_STAMP_SET_HANDLE set, seen_call& seen) {
    if (set == nullptr) return;
    const stdout_capture unseen;
    unsigned int count = 0;
    VemraAppStampGetStampCount(set, &count);
    for (unsigned int i = 0; i < count; ++i)
        take(set, i, seen);
    VemraAppStampFreeStamps(set);
}

seen_call live_library::list_wanted(const wanted_stamps& wanted) {
    forget_taken();
    const char* serial = wanted.serial.empty() ? nullptr : wanted.serial.c_str();
    const auto length = static_cast<unsigned int>(wanted.serial.size());
    VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
    seen_call seen = watched_call([&] {
        set = VemraAppStampGetAllStamps(wanted.type, serial, length, wanted.device_type);
        return 0;
    });
    if (!seen.escaped) seen.status = seen.last_status;
    take_all(set, seen);
    return seen;
}

seen_call live_library::own_device(std::size_t index) {
    char* serial = nullptr;
    unsigned int length = 0;
    int type = 0;
    seen_call seen = watched_call(
        [&] { return VemraAppStampGetStampOwnDevice(taken_.at(index), &serial, &length, &type); });
    if (serial != nullptr) {
        const stdout_capture unseen;
        seen.owner_serial = std::string(serial, length);
        VemraAppStampFreeMemory(serial);
    }
    if (serial == nullptr && length != 0) {
        seen.owner_serial = "no memory for " + std::to_string(length);
    }
    seen.owner_type = type;
    return seen;
}

seen_call live_library::append(const std::string& serial, int type, const char* password,
                               const new_stamp& stamp) {
    new_stamp own = stamp;
    VEMRA_APP_STAMP_RECORD record = image_record(own.name, own.data);
    record.type = own.type;
    return watched_call([&] {
        return VemraAppStampAppendStamp(serial.c_str(), static_cast<unsigned int>(serial.size()),
                                        type, password, &record);
    });
}

seen_call live_library::update(const std::string& uuid, const char* password,
                               const new_stamp& stamp) {
    new_stamp own = stamp;
    VEMRA_APP_STAMP_RECORD record = image_record(own.name, own.data);
    record.type = own.type;
    return watched_call([&] {
        return VemraAppStampUpdateStamp(bytes_of(uuid), static_cast<unsigned int>(uuid.size()),
                                        password, &record);
    });
}

seen_call live_library::remove(const std::string& uuid, const char* password) {
    return watched_call([&] {
        return VemraAppStampDeleteStamp(bytes_of(uuid), static_cast<unsigned int>(uuid.size()),
                                        password);
    });
}
