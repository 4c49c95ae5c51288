#include "core/max_stamp_size.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/environment.h"
#include "support/stream_capture.h"

using vemra::app::stamp::environment;

namespace {

using lines_t = std::vector<std::string>;

// Only the address of the handle is looked at.
VEMRA_APP_STAMP_ENV_HANDLE some_handle() {
    return reinterpret_cast<VEMRA_APP_STAMP_ENV_HANDLE>(&environment::instance());
}

int last_status() {
    const stdout_capture trace;
    return VemraAppStampGetLastError();
}

TEST(max_stamp_size, is_16_mib) {
    const stdout_capture captured;
    unsigned long long size = 0;
    EXPECT_EQ(VemraAppStampEnvGetMaxStampSize(some_handle(), &size), 1);
    EXPECT_EQ(size, 16777216ULL);
}

TEST(max_stamp_size, needs_a_handle_first) {
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampEnvGetMaxStampSize(nullptr, nullptr), -1);
}

TEST(max_stamp_size, without_a_handle_leaves_the_output) {
    const stdout_capture captured;
    unsigned long long size = 5;
    EXPECT_EQ(VemraAppStampEnvGetMaxStampSize(nullptr, &size), -1);
    EXPECT_EQ(size, 5ULL);
}

TEST(max_stamp_size, needs_an_output) {
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampEnvGetMaxStampSize(some_handle(), nullptr), -2);
}

TEST(max_stamp_size, stores_its_status) {
    const stdout_capture captured;
    unsigned long long size = 0;
    VemraAppStampEnvGetMaxStampSize(nullptr, &size);
    EXPECT_EQ(last_status(), -1);
    VemraAppStampEnvGetMaxStampSize(some_handle(), nullptr);
    EXPECT_EQ(last_status(), -2);
    VemraAppStampEnvGetMaxStampSize(some_handle(), &size);
    EXPECT_EQ(last_status(), 1);
}

TEST(max_stamp_size, logs_its_arguments_even_when_they_are_refused) {
    const stdout_capture captured;
    unsigned long long size = 0;
    VemraAppStampEnvGetMaxStampSize(nullptr, &size);
    EXPECT_EQ(
        captured.normalised(),
        (lines_t{
            " [VERBOSE]  [VemraAppStampEnvGetMaxStampSize] >>>> VemraAppStampEnvGetMaxStampSize",
            " [VERBOSE]  [VemraAppStampEnvGetMaxStampSize] Input `handle`: (nil)",
            " [VERBOSE]  [VemraAppStampEnvGetMaxStampSize] Input `output`: PTR",
            " [VERBOSE]  [VemraAppStampEnvGetMaxStampSize] <<<< VemraAppStampEnvGetMaxStampSize"}));
}

}  // namespace
