// A success is stored like a failure: it must not leave the status of an earlier call behind.

#include <csignal>
#include <new>

#include "api/api_test.h"

namespace {

class last_status : public api_test {
protected:
    void SetUp() override { add_device_with("Seal&8130"); }

    /** The last status after a failed call and then the work, which must succeed. */
    template <typename Work>
    static int after_failure_and(Work work) {
        const stdout_capture unseen;
        VemraAppStampFreeMemory(nullptr);
        EXPECT_EQ(VemraAppStampGetLastError(), -2);
        EXPECT_EQ(work(), 1);
        return VemraAppStampGetLastError();
    }

    /** Lists after a failed call, while the nth allocation fails; tells the last status. */
    static int after_failure_and_listing_without_memory(int nth, bool& has_thrown) {
        VemraAppStampFreeMemory(nullptr);
        has_thrown = false;
        allocation_faults::fail_throwing(nth);
        try {
            VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
        } catch (const std::bad_alloc&) {
            has_thrown = true;
        }
        allocation_faults::stop();
        return VemraAppStampGetLastError();
    }
    /** A listing that fails: each allocation of its throws, but the one of its exit line. */
    static void expect_status_kept_whatever_memory_fails() {
        const stdout_capture unseen;
        allocation_faults::stop();
        VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
        const int last = allocation_faults::throwing_count();
        EXPECT_EQ(VemraAppStampGetLastError(), 0);
        for (int nth = 1; nth < last; ++nth) {
            bool has_thrown = false;
            EXPECT_EQ(after_failure_and_listing_without_memory(nth, has_thrown), -2) << nth;
            EXPECT_TRUE(has_thrown) << nth;
        }
    }

    std::string name = "New";
    std::string data = "new bytes";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
};

TEST_F(last_status, is_1_after_a_listing_and_the_release_of_its_set) {
    VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
    EXPECT_EQ(after_failure_and([&] {
                  set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
                  return set != nullptr ? 1 : 0;
              }),
              1);
    unsigned int count = 0;
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampGetStampCount(set, &count); }), 1);
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampFreeStamps(set); }), 1);
}

TEST_F(last_status, stays_when_the_line_that_tells_of_no_device_cannot_be_built) {
    fake.unplug_device("SN-1");
    expect_status_kept_whatever_memory_fails();
}

TEST_F(last_status, stays_when_the_line_that_tells_of_a_failed_listing_cannot_be_built) {
    fake.fail_function("VemraPKICryptoGetAllDevices", 1, fault::throwing_runtime_error().lasting());
    expect_status_kept_whatever_memory_fails();
}

TEST_F(last_status, is_1_after_taking_and_releasing_a_stamp) {
    const stdout_capture unseen;
    const listed_stamps all;
    unsigned char* uuid = nullptr;
    unsigned int size = 0;
    VEMRA_APP_STAMP_RECORD* taken = nullptr;
    EXPECT_EQ(
        after_failure_and([&] { return VemraAppStampGetStamp(all.set, 0, &uuid, &size, &taken); }),
        1);
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampFreeMemory(uuid); }), 1);
    VemraAppStampFreeMemory(taken->name);
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampFreeStamp(taken); }), 1);
}

TEST_F(last_status, is_1_after_reading_a_record) {
    int type = 0;
    unsigned char* bytes = nullptr;
    unsigned long long bytes_size = 0;
    char* text = nullptr;
    unsigned int text_size = 0;
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampGetStampType(&record, &type); }), 1);
    EXPECT_EQ(
        after_failure_and([&] { return VemraAppStampGetStampData(&record, &bytes, &bytes_size); }),
        1);
    EXPECT_EQ(
        after_failure_and([&] { return VemraAppStampGetStampName(&record, &text, &text_size); }),
        1);
    const stdout_capture unseen;
    VemraAppStampFreeMemory(bytes);
    VemraAppStampFreeMemory(text);
}

TEST_F(last_status, is_1_after_asking_for_the_own_device) {
    const stdout_capture unseen;
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    char* serial = nullptr;
    unsigned int length = 0;
    int type = 0;
    EXPECT_EQ(after_failure_and([&] {
                  return VemraAppStampGetStampOwnDevice(stamp.record, &serial, &length, &type);
              }),
              1);
    VemraAppStampFreeMemory(serial);
}

TEST_F(last_status, is_1_after_every_write) {
    const std::string uuid = uuid_of(0);
    EXPECT_EQ(after_failure_and(
                  [&] { return VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, &record); }),
              1);
    EXPECT_EQ(
        after_failure_and([&] { return VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr); }), 1);
    EXPECT_EQ(
        after_failure_and([&] { return VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record); }),
        1);
}

TEST_F(last_status, is_1_after_use_of_the_environment) {
    const VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(nullptr);
    for (const int number : {SIGILL, SIGSEGV, SIGABRT})
        std::signal(number, SIG_DFL);
    VEMRA_APP_STAMP_CONFIG config{0, 0, nullptr};
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampEnvGetConfiguration(handle, &config); }),
              1);
    EXPECT_EQ(after_failure_and([&] { return VemraAppStampEnvUninitialize(handle); }), 1);
    const stdout_capture unseen;
    VemraAppStampFreeMemory(config.log_directory);
}

}  // namespace
