#include "sweep/crowd/plain_calls.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vemra_app_stamp.h"

namespace {

VEMRA_APP_STAMP_RECORD _record(new_stamp& stamp) {
    VEMRA_APP_STAMP_RECORD record;
    std::memset(&record, 0, sizeof(record));
    record.type = VEMRA_APP_STAMP_TYPE_IMAGE;
    record.name_length = static_cast<unsigned int>(stamp.name.size());
    record.data_length = stamp.data.size();
    record.data = reinterpret_cast<unsigned char*>(stamp.data.data());
    record.name = stamp.name.data();
    return record;
}

const unsigned char* _bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/** Failures, where the trace does not go. */
class failure_printer : public ::testing::EmptyTestEventListener {
    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (!result.failed()) return;
        std::fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(),
                     result.summary());
    }
};

seen_stamp _take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index) {
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    if (VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &record) != 1) return {"?", {}, {}};
    const auto* data = reinterpret_cast<const char*>(record->data);
    seen_stamp stamp{std::string(reinterpret_cast<const char*>(uuid), uuid_size),
                     std::string(record->name, record->name_length),
                     data == nullptr ? std::string() : std::string(data, record->data_length)};
    VemraAppStampFreeMemory(uuid);
    VemraAppStampFreeMemory(record->name);
    VemraAppStampFreeStamp(record);
    return stamp;
}

std::vector<seen_stamp> _take_all(VEMRA_APP_STAMP_SET_HANDLE set) {
    std::vector<seen_stamp> stamps;
    unsigned int count = 0;
    if (set == nullptr) return stamps;
    VemraAppStampGetStampCount(set, &count);
    for (unsigned int i = 0; i < count; ++i)
        stamps.push_back(_take(set, i));
    VemraAppStampFreeStamps(set);
    return stamps;
}

}  // namespace

std::vector<seen_stamp> listed_stamps() {
    return _take_all(VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1));
}

std::vector<seen_stamp> listed_stamps(const token& device) {
    return _take_all(VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, device.serial.c_str(),
                                               static_cast<unsigned int>(device.serial.size()),
                                               device.type));
}

int append_stamp(const token& device, const new_stamp& stamp) {
    new_stamp own = stamp;
    const VEMRA_APP_STAMP_RECORD record = _record(own);
    return VemraAppStampAppendStamp(device.serial.c_str(),
                                    static_cast<unsigned int>(device.serial.size()), device.type,
                                    nullptr, &record);
}

int update_stamp(const std::string& uuid, const new_stamp& stamp) {
    new_stamp own = stamp;
    const VEMRA_APP_STAMP_RECORD record = _record(own);
    return VemraAppStampUpdateStamp(_bytes(uuid), static_cast<unsigned int>(uuid.size()), nullptr,
                                    &record);
}

int delete_stamp(const std::string& uuid) {
    return VemraAppStampDeleteStamp(_bytes(uuid), static_cast<unsigned int>(uuid.size()), nullptr);
}

void discard_trace() {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
    ::testing::UnitTest::GetInstance()->listeners().Append(new failure_printer);
}
