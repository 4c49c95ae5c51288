// The fake behaves as its header says.

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

TEST_F(fake_device, has_slots_that_are_created_with_zero_bytes) {
    int length = 0;
    EXPECT_EQ(VemraPKICryptoGetDataLength(device, 8130, &length), -7);
    EXPECT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), 1);
    EXPECT_EQ(fake.slot(8130), std::string(2, '\0'));
}

TEST_F(fake_device, has_slots_that_are_written_and_read) {
    int length = 0;
    unsigned char buffer[8] = {};
    ASSERT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), 1);
    EXPECT_EQ(VemraPKICryptoWriteData(device, 8130, "ab", 2), 1);
    EXPECT_EQ(VemraPKICryptoGetDataLength(device, 8130, &length), 1);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(VemraPKICryptoReadData(device, 8130, buffer, 8, &length), 1);
    EXPECT_EQ(std::memcmp(buffer, "ab", 3), 0);
}

TEST_F(fake_device, has_slots_that_are_deleted) {
    ASSERT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), 1);
    EXPECT_EQ(VemraPKICryptoDeleteData(device, 8130), 1);
    EXPECT_EQ(fake.slot(8130), std::nullopt);
}

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

TEST_F(fake_device, lets_an_empty_slot_be_created_again) {
    fake.fill_slot(8130, "");
    EXPECT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), 1);
}

TEST_F(fake_device, counts_wrong_passwords_and_locks) {
    int retries = 0;
    fake.set_password("SN-1", "right", 2);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "wrong", &retries), fake.wrong_password);
    EXPECT_EQ(retries, 1);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "right", &retries), 1);
    EXPECT_EQ(fake.retries("SN-1"), 2);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "wrong", &retries), fake.wrong_password);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "wrong", &retries), fake.wrong_password);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "right", &retries), fake.locked);
    EXPECT_FALSE(fake.is_logged_in("SN-1"));
}

TEST_F(fake_device, may_need_a_login_for_writes) {
    int retries = 0;
    fake.require_login("SN-1");
    EXPECT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), fake.not_logged_in);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "12345678", &retries), 1);
    EXPECT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), 1);
}

TEST_F(fake_device, logs_calls_with_their_arguments) {
    int retries = 0;
    VemraPKICryptoCreateData(device, 8130, attributes, 2);
    VemraPKICryptoWriteData(device, 8130, "ab", 2);
    VemraPKICryptoVerifyPwd(nullptr, 1, "pw", &retries);
    EXPECT_EQ(fake.calls(), (lines{"VemraPKICryptoCreateData(SN-1, 8130, 04 01 03 07, 2)",
                                   "VemraPKICryptoWriteData(SN-1, 8130, 61 62, 2)",
                                   "VemraPKICryptoVerifyPwd(null, 1, \"pw\", 0)"}));
    EXPECT_EQ(fake.calls_of("VemraPKICryptoVerifyPwd").size(), 1u);
}

TEST_F(fake_device, fails_the_nth_call_once_or_for_good) {
    fake.fail_call(2, fault::failing(23));
    EXPECT_EQ(VemraPKICryptoGetType(device), 3);
    EXPECT_FALSE(fake.fault_fired());
    EXPECT_EQ(VemraPKICryptoGetType(device), -1);
    EXPECT_TRUE(fake.fault_fired());
    EXPECT_EQ(VemraPKIGetLastError(), 23);
    EXPECT_EQ(VemraPKICryptoGetType(device), 3);
    fake.clear_faults();
    fake.fail_call(1, fault::failing(23).lasting());
    EXPECT_EQ(VemraPKICryptoGetType(device), -1);
    EXPECT_EQ(VemraPKICryptoGetType(device), -1);
}

TEST_F(fake_device, fails_calls_of_one_function_alone) {
    fake.fail_function("VemraPKICryptoCreateData", 1, fault::working_but_failing(23));
    EXPECT_EQ(VemraPKICryptoGetType(device), 3);
    EXPECT_EQ(VemraPKICryptoCreateData(device, 8130, attributes, 2), 23);
    EXPECT_EQ(fake.slot(8130), std::string(2, '\0'));
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

TEST_F(fake_device, answers_removed_when_it_is_unplugged) {
    int length = 0;
    fake.unplug_device("SN-1");
    EXPECT_EQ(VemraPKICryptoGetDataLength(device, 8130, &length), fake.removed);
    EXPECT_EQ(VemraPKICryptoGetAllDevices(-1, 0), nullptr);
}

TEST_F(fake_device, keeps_its_slots_while_unplugged_and_is_another_one_when_it_comes_back) {
    const std::map<int, std::string> slots{{0, "first"}, {8130, ""}};
    for (const auto& [id, bytes] : slots)
        fake.fill_slot(id, bytes);
    fake.unplug_device("SN-1");
    EXPECT_EQ(fake.slots("SN-1"), slots);

    fake.replug_device("SN-1");
    EXPECT_EQ(fake.slots("SN-1"), slots);
    int length = 0;
    EXPECT_EQ(VemraPKICryptoGetDataLength(device, 8130, &length), fake.removed);
    EXPECT_EQ(VemraPKICryptoDeleteData(device, 8130), fake.removed);
    EXPECT_EQ(fake.slots("SN-1"), slots);
    EXPECT_NE(VemraPKICryptoGetAllDevices(-1, 0), nullptr);
}

TEST_F(fake_device, comes_back_logged_out) {
    int retries = 0;
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "12345678", &retries), 1);
    fake.unplug_device("SN-1");
    EXPECT_TRUE(fake.is_logged_in("SN-1"));
    fake.replug_device("SN-1");
    EXPECT_FALSE(fake.is_logged_in("SN-1"));
}

TEST_F(fake_device, comes_back_with_all_its_attempts) {
    int retries = 0;
    fake.set_password("SN-1", "12345678", 3);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device, 1, "wrong", &retries), fake.wrong_password);
    fake.unplug_device("SN-1");
    EXPECT_EQ(fake.retries("SN-1"), 2);
    fake.replug_device("SN-1");
    EXPECT_EQ(fake.retries("SN-1"), 3);
}

TEST_F(fake_device, digests_other_input_to_other_bytes) {
    std::string digests[2];
    for (int i = 0; i < 2; ++i) {
        VEMRA_PKI_HASH_HANDLE_st* hash = VemraPKICryptoNewHash(device, 0x7000);
        VemraPKICryptoHashUpdate(hash, i == 0 ? "a" : "b", 1);
        unsigned char* digest = nullptr;
        int length = 0;
        VemraPKICryptoHashFinal(hash, &digest, &length);
        digests[i].assign(reinterpret_cast<char*>(digest), static_cast<std::size_t>(length));
        VemraPKICryptoFreeMemory(digest);
        VemraPKICryptoFreeHash(hash);
    }
    EXPECT_NE(digests[0], digests[1]);
    EXPECT_EQ(VemraPKICryptoNewHash(device, 1), nullptr);
}

}  // namespace
