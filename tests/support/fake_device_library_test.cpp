// What the fake promises beyond what the model compares with it, call by call.

#include "support/fake_device_library.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "vemra_crypto.h"

namespace {

const unsigned char attributes[] = {4, 1, 3, 7, 0};
using lines = std::vector<std::string>;

class fake_device : public ::testing::Test {
protected:
    void SetUp() override {
        fake.add_device("SN-1", 3);
        device = VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
        fake.clear_calls();
    }
    void TearDown() override {
        VemraPKICryptoFreeDevice(device);
        EXPECT_EQ(fake.live_handles_and_buffers(), 0);
    }

    fake_device_library fake;
    VEMRA_PKI_DEVICE_HANDLE_st* device = nullptr;
};

TEST_F(fake_device, refuses_what_a_device_refuses) {
    int length = 0;
    unsigned char buffer[1];
    fake.fill_slot(8130, "ab");
    EXPECT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), fake.slot_exists);
    EXPECT_EQ(VemraPKICryptoWriteData(device, 8130, "abc", 3), fake.wrong_length);
    EXPECT_EQ(VemraPKICryptoWriteData(device, 8131, "a", 1), fake.no_such_slot);
    EXPECT_EQ(VemraPKICryptoReadData(device, 8130, buffer, 1, &length), fake.buffer_too_small);
    EXPECT_EQ(VemraPKICryptoReadData(device, 8131, buffer, 1, &length), fake.no_such_slot);
    EXPECT_EQ(VemraPKICryptoDeleteData(device, 8131), fake.no_such_slot);
    EXPECT_EQ(VemraPKIGetLastError(), fake.no_such_slot);
    EXPECT_STREQ(VemraPKIGetErrorMsg(fake.no_such_slot), "no such slot");
}

TEST_F(fake_device, throws_when_told_to) {
    fake.fail_function("VemraPKICryptoGetType", 1, fault::throwing_int());
    fake.fail_function("VemraPKICryptoGetType", 2, fault::throwing_runtime_error());
    EXPECT_THROW(VemraPKICryptoGetType(device), int);
    EXPECT_THROW(VemraPKICryptoGetType(device), std::runtime_error);
    EXPECT_EQ(VemraPKICryptoGetType(device), 3);
}

TEST_F(fake_device, releases_even_when_a_release_is_told_to_fail) {
    VEMRA_PKI_DEVICE_HANDLE_st* second = VemraPKICryptoDupDevice(device);
    EXPECT_EQ(fake.live_devices(), 2);
    fake.fail_call(1, fault::throwing_runtime_error());
    VemraPKICryptoFreeDevice(second);
    EXPECT_EQ(fake.live_devices(), 1);
}

TEST_F(fake_device, sees_double_frees_late_uses_and_foreign_buffers) {
    VEMRA_PKI_DEVICE_HANDLE_st* second = VemraPKICryptoDupDevice(device);
    VemraPKICryptoFreeDevice(second);
    VemraPKICryptoFreeDevice(second);
    EXPECT_EQ(fake.double_frees(), 1);
    EXPECT_EQ(VemraPKICryptoGetType(second), -1);
    int foreign = 0;
    VemraPKICryptoFreeMemory(&foreign);
    EXPECT_EQ(fake.misuses(), (lines{"VemraPKICryptoFreeDevice of the released SN-1",
                                     "VemraPKICryptoGetType of the released SN-1",
                                     "VemraPKICryptoFreeMemory of a foreign buffer"}));
}

}  // namespace
