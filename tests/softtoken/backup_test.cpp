#include <chrono>
#include <filesystem>

#include "store/token_database.h"
#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_backup : public token_test {
protected:
    softtoken_backup() {
        make_token("one");
        device_ = device_at();
        log_in(device());
        fill_slot(device(), 8130, "bytes");
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }
    std::string file() const { return root() + "/file"; }

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_backup, restored_token_is_as_it_was_and_logged_out) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(write_slot(device(), 8130, "other"), 1);
    ASSERT_EQ(fill_slot(device(), 8131, "later"), 1);
    program_result result = run_tool("restore one " + file());
    ASSERT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_EQ(slot_bytes(device(), 8131), "failed: -7");
    EXPECT_EQ(write_slot(device(), 8130, "other"), not_logged_in);
    EXPECT_EQ(log_in(device()), 1);
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

TEST_F(softtoken_backup, removed_token_comes_back_from_its_snapshot) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(run_tool("remove one").status, 0);
    ASSERT_EQ(run_tool("restore two " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
}

TEST_F(softtoken_backup, unplugged_token_stays_unplugged) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    detach("one");
    ASSERT_EQ(run_tool("restore one " + file()).status, 0);
    EXPECT_EQ(attached_count(), 0);
}

TEST_F(softtoken_backup, snapshot_overwrites_nothing) {
    write_file(file(), "mine");
    EXPECT_EQ(run_tool("snapshot one " + file()).status, 1);
    EXPECT_EQ(file_bytes(file()), "mine");
}

TEST_F(softtoken_backup, snapshot_of_another_token_is_refused) {
    make_token("two");
    ASSERT_EQ(run_tool("snapshot two " + file()).status, 0);
    program_result result = run_tool("restore one " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("another token"), std::string::npos);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_backup, file_that_is_no_snapshot_is_refused) {
    write_file(file(), std::string(500, 'f'));
    EXPECT_EQ(run_tool("restore one " + file()).status, 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_backup, dumped_bytes_are_the_slots) {
    EXPECT_EQ(run_tool("dump one 8130 " + file()).status, 0);
    EXPECT_EQ(file_bytes(file()), "bytes");
    EXPECT_EQ(run_tool("dump one 8131 " + file()).status, 1);
}

TEST_F(softtoken_backup, loaded_file_becomes_the_slot) {
    write_file(file(), "other bytes");
    EXPECT_EQ(run_tool("load one 8130 " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device(), 8130), "other bytes");
    EXPECT_EQ(run_tool("load one 8133 " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device(), 8133), "other bytes");
}

TEST_F(softtoken_backup, fsck_finds_a_sound_token_sound) {
    program_result result = run_tool("fsck");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "one: sound\n");
}

TEST_F(softtoken_backup, fsck_names_what_is_wrong) {
    vemra::softtoken::token_database database(directory("one") + "/token.db");
    database.connection().execute(
        "UPDATE slot SET length = 9; UPDATE password SET retries_left = 99;"
        "INSERT INTO slot VALUES (3, x'0102', 0, NULL)");
    program_result result = run_tool("fsck one");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("slot 8130: length 9, bytes 5"), std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find("retry counter out of range"), std::string::npos);
    EXPECT_NE(result.output.find("slot 3: bad attribute block"), std::string::npos);
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -123");
}

TEST_F(softtoken_backup, profile_sets_limits_of_a_running_token) {
    ASSERT_EQ(run_tool("profile one --profile small --slots 2").status, 0);
    EXPECT_EQ(create_slot(device(), 8131, 40000), -112);
    EXPECT_EQ(create_slot(device(), 8131, 4), 1);
    EXPECT_EQ(create_slot(device(), 8132, 4), -113);
}

TEST_F(softtoken_backup, slow_profile_makes_calls_take_their_time) {
    ASSERT_EQ(run_tool("profile one --call-delay 30 --bytes-per-second 100").status, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(110));
}
