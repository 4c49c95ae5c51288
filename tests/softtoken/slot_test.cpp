#include <array>

#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_slots : public token_test {
protected:
    softtoken_slots() {
        make_token("one");
        device_ = device_at();
        log_in(device());
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }

    // A token with narrow limits in place of the plain one.
    void use_limits(const vemra::softtoken::personality& limits) {
        detach("one");
        auto token = plain_token("SN-limited");
        token.info.behaviour = limits;
        make_token("limited", token);
        device_ = device_at();
        log_in(device());
    }

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_slots, length_of_a_missing_slot_is_no_such_slot) {
    int length = 0;
    EXPECT_EQ(slot_length(device(), 8130, length), no_such_slot);
    EXPECT_STREQ(VemraPKIGetErrorMsg(no_such_slot), "no such data slot");
}

TEST_F(softtoken_slots, reading_a_missing_slot_is_no_such_slot) {
    std::array<unsigned char, 4> buffer{};
    int length = 0;
    EXPECT_EQ(VemraPKICryptoReadData(device(), 8130, buffer.data(), 4, &length), no_such_slot);
}

TEST_F(softtoken_slots, created_slot_has_its_length_and_zero_bytes) {
    ASSERT_EQ(create_slot(device(), 8130, 6), 1);
    int length = 0;
    EXPECT_EQ(slot_length(device(), 8130, length), 1);
    EXPECT_EQ(length, 6);
    EXPECT_EQ(slot_bytes(device(), 8130), std::string(6, '\0'));
}

TEST_F(softtoken_slots, reads_back_every_byte_value) {
    std::string bytes;
    for (int i = 0; i < 1024; ++i)
        bytes += static_cast<char>(i);
    ASSERT_EQ(fill_slot(device(), 8131, bytes), 1);
    EXPECT_EQ(slot_bytes(device(), 8131), bytes);
}

TEST_F(softtoken_slots, reads_back_a_slot_of_many_pages) {
    std::string bytes(3000000, 'x');
    for (std::size_t i = 0; i < bytes.size(); i += 7)
        bytes[i] = static_cast<char>(i >> 3);
    ASSERT_EQ(fill_slot(device(), 8131, bytes), 1);
    EXPECT_EQ(slot_bytes(device(), 8131), bytes);
}

TEST_F(softtoken_slots, writing_again_replaces_the_bytes) {
    ASSERT_EQ(fill_slot(device(), 8130, "first"), 1);
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "other");
}

TEST_F(softtoken_slots, slot_of_size_0_exists_with_length_0) {
    ASSERT_EQ(create_slot(device(), 8130, 0), 1);
    int length = -1;
    EXPECT_EQ(slot_length(device(), 8130, length), 1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(VemraPKICryptoWriteData(device(), 8130, nullptr, 0), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "");
}

TEST_F(softtoken_slots, slot_of_size_0_can_be_created_with_another_size) {
    ASSERT_EQ(create_slot(device(), 8130, 0), 1);
    EXPECT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_slots, create_over_bytes_is_refused_and_keeps_them) {
    ASSERT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    EXPECT_EQ(create_slot(device(), 8130, 5), -108);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-108), "data slot already exists");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_slots, write_to_a_missing_slot_is_no_such_slot) {
    EXPECT_EQ(write_slot(device(), 8130, "bytes"), no_such_slot);
}

TEST_F(softtoken_slots, write_of_another_length_is_refused_and_keeps_the_bytes) {
    ASSERT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    EXPECT_EQ(write_slot(device(), 8130, "byte"), -109);
    EXPECT_EQ(write_slot(device(), 8130, "bytess"), -109);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-109), "length differs from data slot");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_slots, read_into_too_small_a_buffer_is_refused) {
    ASSERT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    std::array<unsigned char, 4> buffer{};
    int length = 0;
    EXPECT_EQ(VemraPKICryptoReadData(device(), 8130, buffer.data(), 4, &length), -110);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-110), "buffer too small");
    EXPECT_EQ(length, 0);
}

TEST_F(softtoken_slots, read_into_a_larger_buffer_tells_the_length) {
    ASSERT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    std::array<unsigned char, 9> buffer{};
    int length = 0;
    EXPECT_EQ(VemraPKICryptoReadData(device(), 8130, buffer.data(), 9, &length), 1);
    EXPECT_EQ(length, 5);
}

TEST_F(softtoken_slots, deleted_slot_is_gone) {
    ASSERT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), 1);
    int length = 0;
    EXPECT_EQ(slot_length(device(), 8130, length), no_such_slot);
}

TEST_F(softtoken_slots, deleting_a_missing_slot_is_no_such_slot) {
    EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), no_such_slot);
}

TEST_F(softtoken_slots, more_bytes_than_the_capacity_are_refused) {
    vemra::softtoken::personality limits;
    limits.capacity = 10;
    use_limits(limits);
    ASSERT_EQ(create_slot(device(), 8130, 6), 1);
    EXPECT_EQ(create_slot(device(), 8131, 5), -111);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-111), "device full");
    EXPECT_EQ(create_slot(device(), 8131, 4), 1);
}

TEST_F(softtoken_slots, larger_slot_than_allowed_is_refused) {
    vemra::softtoken::personality limits;
    limits.slot_size = 10;
    use_limits(limits);
    EXPECT_EQ(create_slot(device(), 8130, 11), -112);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-112), "data slot too large");
    EXPECT_EQ(create_slot(device(), 8130, 10), 1);
}

TEST_F(softtoken_slots, more_slots_than_allowed_are_refused) {
    vemra::softtoken::personality limits;
    limits.slots = 1;
    use_limits(limits);
    ASSERT_EQ(create_slot(device(), 8130, 0), 1);
    EXPECT_EQ(create_slot(device(), 8131, 1), -113);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-113), "too many data slots");
    EXPECT_EQ(create_slot(device(), 8130, 1), 1);
}

TEST_F(softtoken_slots, bad_arguments_are_answered_with_an_error) {
    std::array<unsigned char, 4> bytes{};
    int length = 0;
    EXPECT_EQ(create_slot(device(), -1, 4), -102);
    EXPECT_EQ(create_slot(device(), 8130, -1), -102);
    EXPECT_EQ(VemraPKICryptoCreateData(device(), 8130, nullptr, 4), -102);
    EXPECT_EQ(VemraPKICryptoWriteData(device(), 8130, nullptr, 4), -102);
    EXPECT_EQ(VemraPKICryptoWriteData(device(), 8130, bytes.data(), -1), -102);
    EXPECT_EQ(VemraPKICryptoReadData(device(), 8130, nullptr, 4, &length), -102);
    EXPECT_EQ(VemraPKICryptoReadData(device(), 8130, bytes.data(), -1, &length), -102);
    EXPECT_EQ(VemraPKICryptoReadData(device(), 8130, bytes.data(), 4, nullptr), -102);
    EXPECT_EQ(VemraPKICryptoGetDataLength(device(), 8130, nullptr), -102);
}

TEST_F(softtoken_slots, pseudo_device_has_no_storage) {
    device_owner pseudo(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice);
    ASSERT_NE(pseudo, nullptr);
    int length = 0;
    EXPECT_EQ(slot_length(pseudo.get(), 8130, length), -120);
    EXPECT_EQ(create_slot(pseudo.get(), 8130, 4), -120);
    EXPECT_EQ(log_in(pseudo.get()), -120);
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(pseudo.get()), 0);
    EXPECT_EQ(serial_number_of(pseudo.get()), "PSEUDO");
    EXPECT_EQ(VemraPKICryptoGetType(pseudo.get()), 0);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-120), "device has no storage");
}
