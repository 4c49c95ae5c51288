// What the exported functions tell the bounded copy of the buffers that they made for the caller.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/image_stamp.h"
#include "core/stamp_device_map.h"
#include "core/stamp_set.h"
#include "support/fake_device_library.h"
#include "support/stream_capture.h"
#include "vemra_app_stamp.h"

using namespace vemra::app::stamp;

namespace {

// Room and bytes to copy, of each bounded copy.
using sizes_t = std::vector<std::pair<std::size_t, std::size_t>>;
sizes_t* seen_copies = nullptr;

}  // namespace

extern "C" {
// qo::base::__memcpy_s
void __real__ZN2qo4base10__memcpy_sEPKcmPvmPKvm(const char* file, unsigned long line, void* dest,
                                                std::size_t dest_size, const void* src,
                                                std::size_t src_size);
void __wrap__ZN2qo4base10__memcpy_sEPKcmPvmPKvm(const char* file, unsigned long line, void* dest,
                                                std::size_t dest_size, const void* src,
                                                std::size_t src_size);
void __wrap__ZN2qo4base10__memcpy_sEPKcmPvmPKvm(const char* file, unsigned long line, void* dest,
                                                std::size_t dest_size, const void* src,
                                                std::size_t src_size) {
    if (seen_copies != nullptr) seen_copies->emplace_back(dest_size, src_size);
    __real__ZN2qo4base10__memcpy_sEPKcmPvmPKvm(file, line, dest, dest_size, src, src_size);
}
}

namespace {

// A stamp "seal" of three bytes with a uuid of two, taken out of a set.
class copy_bounds : public testing::Test {
protected:
    copy_bounds() {
        const std::basic_string<unsigned char> place = {0xab, 0xcd};
        g_stamp_device_map.put(place, std::make_shared<stamp_device_map::item>(
                                          std::make_shared<vemra::crypto::device>(), 8130, "seal"));
        set.push_back(std::make_shared<image_stamp>("seal", place, "abc", 3));
        seen_copies = &copies;
        VemraAppStampGetStamp(reinterpret_cast<VEMRA_APP_STAMP_SET_HANDLE>(&set), 0, &uuid,
                              &uuid_size, &record);
    }
    ~copy_bounds() override {
        seen_copies = nullptr;
        VemraAppStampFreeMemory(uuid);
        VemraAppStampFreeMemory(record->name);
        VemraAppStampFreeStamp(record);
        g_stamp_device_map.clear();
    }

    const stdout_capture unseen;
    const fake_device_library fake;
    sizes_t copies;
    stamp_set set;
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
};

TEST_F(copy_bounds, are_the_rooms_of_a_taken_stamp_with_a_byte_more_for_the_end_of_its_name) {
    EXPECT_EQ(copies, (sizes_t{{3, 3}, {5, 4}, {2, 2}}));
}

TEST_F(copy_bounds, are_the_rooms_of_a_record_read_out) {
    copies.clear();
    unsigned char* bytes = nullptr;
    unsigned long long bytes_size = 0;
    VemraAppStampGetStampData(record, &bytes, &bytes_size);
    char* name = nullptr;
    unsigned int name_size = 0;
    VemraAppStampGetStampName(record, &name, &name_size);
    VemraAppStampFreeMemory(bytes);
    VemraAppStampFreeMemory(name);
    EXPECT_EQ(copies, (sizes_t{{3, 3}, {5, 4}}));
}

}  // namespace
