#include "support/allocation_faults.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "support/fake_device_library.h"
#include "vemra_crypto.h"

namespace {

// Through a volatile pointer, so that no compiler removes the pair.
int* volatile kept;

TEST(allocation_faults, blocks_are_counted_until_they_are_released) {
    const long before = allocation_faults::live_blocks();
    kept = new int(1);
    const long with_one = allocation_faults::live_blocks();
    delete kept;
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(with_one, before + 1);
    EXPECT_EQ(after, before);
}

TEST(allocation_faults, the_nth_nothrow_allocation_gives_null) {
    allocation_faults::fail_nothrow(2);
    std::unique_ptr<int> first(new (std::nothrow) int(1));
    std::unique_ptr<int> second(new (std::nothrow) int(2));
    std::unique_ptr<int> third(new (std::nothrow) int(3));
    const bool has_fired = allocation_faults::fired();
    allocation_faults::stop();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    EXPECT_TRUE(has_fired);
}

TEST(allocation_faults, a_lasting_throwing_fault_throws_from_the_nth_on) {
    int thrown = 0;
    allocation_faults::fail_throwing(2, true);
    for (int i = 0; i < 3; ++i) {
        try {
            kept = new int(i);
            delete kept;
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
    }
    allocation_faults::stop();
    EXPECT_EQ(thrown, 2);
}

TEST(allocation_faults, the_fake_is_neither_counted_nor_failed) {
    fake_device_library fake;
    fake.add_device("SN-1", 3);
    const long before = allocation_faults::live_blocks();
    allocation_faults::fail_throwing(1, true);
    VEMRA_PKI_DEVICE_HANDLE_st* device =
        VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
    allocation_faults::stop();
    const long after = allocation_faults::live_blocks();
    EXPECT_NE(device, nullptr);
    EXPECT_EQ(after, before);
    VemraPKICryptoFreeDevice(device);
}

TEST(allocation_faults_death, the_wrong_form_of_delete_ends_the_program) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            kept = static_cast<int*>(operator new[](sizeof(int)));
            operator delete(static_cast<void*>(kept));
        },
        "wrong form of delete");
}

TEST(allocation_faults_death, a_byte_written_beyond_a_block_ends_the_program) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            kept = new int(1);
            auto* volatile bytes = reinterpret_cast<unsigned char*>(kept);
            bytes[sizeof(int)] = 1;
            delete kept;
        },
        "written beyond its end|heap-buffer-overflow");
}

}  // namespace
