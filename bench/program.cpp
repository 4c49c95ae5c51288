#include "program.h"

#include <cstdint>
#include <utility>

namespace bench {

picture::picture(std::string name, std::size_t size, unsigned int version)
    : name_(std::move(name)), bytes_(size, '\0') {
    std::uint32_t state = 2463534242U + version;
    for (char& byte : bytes_) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    record_.type = VEMRA_APP_STAMP_TYPE_IMAGE;
    record_.name = name_.data();
    record_.name_length = static_cast<unsigned int>(name_.size());
    record_.data = reinterpret_cast<unsigned char*>(bytes_.data());
    record_.data_length = bytes_.size();
}

std::string serial_number(int device) {
    char text[32];
    std::snprintf(text, sizeof(text), "BENCH-%04d", device + 1);
    return text;
}

namespace {

void _remove_all() {
    VEMRA_APP_STAMP_SET_HANDLE set =
        VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1);
    require(set != nullptr, "no devices");
    unsigned int count = 0;
    VemraAppStampGetStampCount(set, &count);
    for (unsigned int i = 0; i < count; ++i) {
        unsigned char* uuid = nullptr;
        unsigned int uuid_size = 0;
        VEMRA_APP_STAMP_RECORD* record = nullptr;
        require(VemraAppStampGetStamp(set, i, &uuid, &uuid_size, &record) == 1, "take");
        require(VemraAppStampDeleteStamp(uuid, uuid_size, nullptr) == 1, "delete");
        VemraAppStampFreeMemory(uuid);
        VemraAppStampFreeMemory(record->name);
        VemraAppStampFreeStamp(record);
    }
    VemraAppStampFreeStamps(set);
}

}  // namespace

void fill_devices(int devices, std::size_t size) {
    _remove_all();
    for (int device = 0; device < devices; ++device) {
        const std::string serial = serial_number(device);
        for (int i = 0; i < stamps_per_device; ++i) {
            const picture stored("Seal " + std::to_string(i + 1), size, static_cast<unsigned>(i));
            const int status =
                VemraAppStampAppendStamp(serial.c_str(), static_cast<unsigned int>(serial.size()),
                                         device_type, nullptr, &stored.record());
            require(status == 1, "append");
        }
    }
}

}  // namespace bench
