#include <gtest/gtest.h>

#include <csignal>
#include <vector>

#include "support/fake_device_library.h"
#include "vemra_app_stamp.h"

namespace {

std::vector<int> installed;

}  // namespace

// Stands before the C library's in this program, for the shared object too.
extern "C" sighandler_t signal(int number, sighandler_t /*handler*/) noexcept {
    installed.push_back(number);
    return SIG_DFL;
}

namespace {

TEST(crash_handler, is_installed_for_4_then_11_then_6_on_every_initialize) {
    const fake_device_library unused_but_needed_to_load;
    installed.clear();
    VemraAppStampEnvInitialize(nullptr);
    EXPECT_EQ(installed, (std::vector<int>{4, 11, 6}));
    VemraAppStampEnvInitialize(nullptr);
    EXPECT_EQ(installed, (std::vector<int>{4, 11, 6, 4, 11, 6}));
}

}  // namespace
