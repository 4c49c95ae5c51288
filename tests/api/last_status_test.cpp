// A success is stored like a failure: it must not leave the status of an earlier call behind. Of
// the calls that deal with stamps the random uses of tests/model show it.

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
};

TEST_F(last_status, stays_when_the_line_that_tells_of_no_device_cannot_be_built) {
    fake.unplug_device("SN-1");
    expect_status_kept_whatever_memory_fails();
}

TEST_F(last_status, stays_when_the_line_that_tells_of_a_failed_listing_cannot_be_built) {
    fake.fail_function("VemraPKICryptoGetAllDevices", 1, fault::throwing_runtime_error().lasting());
    expect_status_kept_whatever_memory_fails();
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
