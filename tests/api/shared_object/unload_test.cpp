#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support/fake_device_library.h"
#include "support/stream_capture.h"
#include "vemra_app_stamp.h"

namespace {

template <typename Function>
Function* function_of(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

TEST(shared_object, releases_its_devices_when_it_is_unloaded) {
    fake_device_library fake;
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, std::string("\x0e\0\0\0\x01Seal&8130", 14));
    void* library = dlopen(LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    {
        const stdout_capture unseen;
        VEMRA_APP_STAMP_SET_HANDLE set = function_of<decltype(VemraAppStampGetAllStamps)>(
            library, "VemraAppStampGetAllStamps")(-1, nullptr, 0, -1);
        function_of<decltype(VemraAppStampFreeStamps)>(library, "VemraAppStampFreeStamps")(set);
    }
    EXPECT_EQ(fake.live_devices(), 1);
    EXPECT_EQ(dlclose(library), 0);
    EXPECT_EQ(dlopen(LIBRARY, RTLD_LAZY | RTLD_NOLOAD), nullptr);
    EXPECT_EQ(fake.live_handles_and_buffers(), 0);
    EXPECT_EQ(fake.double_frees(), 0);
}

TEST(shared_object, starts_with_a_new_last_status_when_it_is_loaded_again) {
    fake_device_library fake;
    const stdout_capture unseen;
    for (int round = 0; round < 2; ++round) {
        void* library = dlopen(LIBRARY, RTLD_LAZY | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        EXPECT_EQ(function_of<decltype(VemraAppStampGetLastError)>(library,
                                                                   "VemraAppStampGetLastError")(),
                  1);
        function_of<decltype(VemraAppStampFreeMemory)>(library, "VemraAppStampFreeMemory")(nullptr);
        EXPECT_EQ(dlclose(library), 0);
    }
}

/** The status of deleting the first stamp of a new listing. */
int delete_first_stamp(void* library) {
    const auto list =
        function_of<decltype(VemraAppStampGetAllStamps)>(library, "VemraAppStampGetAllStamps");
    const auto take =
        function_of<decltype(VemraAppStampGetStamp)>(library, "VemraAppStampGetStamp");
    const auto remove =
        function_of<decltype(VemraAppStampDeleteStamp)>(library, "VemraAppStampDeleteStamp");
    const auto free_memory =
        function_of<decltype(VemraAppStampFreeMemory)>(library, "VemraAppStampFreeMemory");
    VEMRA_APP_STAMP_SET_HANDLE set = list(-1, nullptr, 0, -1);
    VEMRA_APP_STAMP_RECORD* stamp = nullptr;
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    EXPECT_EQ(take(set, 0, &uuid, &uuid_size, &stamp), 1);
    const int status = remove(uuid, uuid_size, nullptr);
    free_memory(stamp->name);
    free_memory(uuid);
    function_of<decltype(VemraAppStampFreeStamp)>(library, "VemraAppStampFreeStamp")(stamp);
    function_of<decltype(VemraAppStampFreeStamps)>(library, "VemraAppStampFreeStamps")(set);
    return status;
}

TEST(shared_object, changes_a_device_that_was_plugged_in_anew_only_when_it_is_loaded_again) {
    fake_device_library fake;
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, std::string("\x0e\0\0\0\x01Seal&8130", 14));
    fake.fill_slot(8130, "hello");
    const stdout_capture unseen;
    void* library = dlopen(LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    VEMRA_APP_STAMP_SET_HANDLE set = function_of<decltype(VemraAppStampGetAllStamps)>(
        library, "VemraAppStampGetAllStamps")(-1, nullptr, 0, -1);
    function_of<decltype(VemraAppStampFreeStamps)>(library, "VemraAppStampFreeStamps")(set);
    fake.unplug_device("SN-1");
    fake.replug_device("SN-1");

    EXPECT_EQ(delete_first_stamp(library), 0);
    EXPECT_EQ(dlclose(library), 0);
    library = dlopen(LIBRARY, RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(delete_first_stamp(library), 1);
    EXPECT_EQ(dlclose(library), 0);
}

}  // namespace
