#include <filesystem>

#include "one_token_test.h"

using namespace softtoken_test;

class softtoken_lifetime : public one_token_test {};

TEST_F(softtoken_lifetime, handle_of_an_unplugged_token_tells_neither_serial_nor_type) {
    detach("one");
    EXPECT_EQ(serial_number_of(device()), "failed: -104");
    EXPECT_EQ(VemraPKICryptoGetType(device()), -1);
    EXPECT_EQ(VemraPKIGetLastError(), removed);
    EXPECT_STREQ(VemraPKIGetErrorMsg(removed), "device removed");
}

TEST_F(softtoken_lifetime, handle_of_an_unplugged_token_reads_no_slot) {
    detach("one");
    int length = 0;
    EXPECT_EQ(slot_length(device(), 8130, length), removed);
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -104");
}

TEST_F(softtoken_lifetime, handle_of_an_unplugged_token_changes_no_slot) {
    detach("one");
    EXPECT_EQ(create_slot(device(), 8131, 4), removed);
    EXPECT_EQ(write_slot(device(), 8130, "other"), removed);
    EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), removed);
}

TEST_F(softtoken_lifetime, handle_of_an_unplugged_token_verifies_no_password) {
    detach("one");
    EXPECT_EQ(log_in(device()), removed);
}

TEST_F(softtoken_lifetime, handle_of_an_unplugged_token_gives_no_key_pairs) {
    detach("one");
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device()), removed);
    EXPECT_EQ(VemraPKICryptoGetKeypair(device(), 0), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), removed);
}

TEST_F(softtoken_lifetime, handle_works_again_logged_out_when_the_token_is_back) {
    detach("one");
    attach("one");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_EQ(write_slot(device(), 8130, "other"), not_logged_in);
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

TEST_F(softtoken_lifetime, attaching_an_attached_token_keeps_the_login) {
    attach("one");
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

TEST_F(softtoken_lifetime, deleted_token_is_removed) {
    std::filesystem::remove_all(directory("one"));
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -104");
}

TEST_F(softtoken_lifetime, another_token_in_the_same_place_is_not_this_one) {
    std::filesystem::remove_all(directory("one"));
    make_token("one", plain_token("SN-2"));
    EXPECT_EQ(serial_number_of(device()), "failed: -104");
    EXPECT_EQ(serial_number_of(device_at().get()), "SN-2");
    EXPECT_EQ(serial_number_of(device()), "failed: -104");
}

TEST_F(softtoken_lifetime, token_moved_away_and_back_keeps_its_slots) {
    detach("one");
    std::filesystem::rename(directory("one"), root() + "/.elsewhere");
    EXPECT_EQ(attached_count(), 0);
    std::filesystem::rename(root() + "/.elsewhere", directory("two"));
    attach("two");
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
}

TEST_F(softtoken_lifetime, duplicated_handle_outlives_the_first) {
    device_owner first = device_at();
    device_owner second(VemraPKICryptoDupDevice(first.get()), VemraPKICryptoFreeDevice);
    first.reset();
    EXPECT_EQ(serial_number_of(second.get()), "SN-one");
}

TEST_F(softtoken_lifetime, handles_can_be_freed_while_the_process_exits) {
    program_result result = run(FREES_AT_EXIT);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "bytes\nfreed\n");
}

TEST_F(softtoken_lifetime, library_can_be_closed_before_and_after_its_handles_are_freed) {
    program_result result = run(CLOSES_LIBRARY " " SOFTTOKEN_LIBRARY);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "SN-one\nSN-one\ndone\n");
}

TEST_F(softtoken_lifetime, closed_process_leaves_no_log_behind) {
    ASSERT_TRUE(std::filesystem::exists(directory("one") + "/token.db-wal"));
    detach("one");
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -104");
    EXPECT_FALSE(std::filesystem::exists(directory("one") + "/token.db-wal"));
}
