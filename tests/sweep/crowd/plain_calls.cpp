#include "sweep/crowd/plain_calls.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "support/stamp_record.h"

namespace {

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
    seen_stamp stamp{std::string(reinterpret_cast<const char*>(uuid), uuid_size),
                     std::string(record->name, record->name_length), data_of(*record)};
    VemraAppStampFreeMemory(uuid);
    free_record(record);
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
    const VEMRA_APP_STAMP_RECORD record = image_record(own.name, own.data);
    return VemraAppStampAppendStamp(device.serial.c_str(),
                                    static_cast<unsigned int>(device.serial.size()), device.type,
                                    nullptr, &record);
}

int update_stamp(const std::string& uuid, const new_stamp& stamp) {
    new_stamp own = stamp;
    const VEMRA_APP_STAMP_RECORD record = image_record(own.name, own.data);
    return VemraAppStampUpdateStamp(bytes_of(uuid), static_cast<unsigned int>(uuid.size()), nullptr,
                                    &record);
}

int delete_stamp(const std::string& uuid) {
    return VemraAppStampDeleteStamp(bytes_of(uuid), static_cast<unsigned int>(uuid.size()),
                                    nullptr);
}

void discard_trace() {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
    ::testing::UnitTest::GetInstance()->listeners().Append(new failure_printer);
}
