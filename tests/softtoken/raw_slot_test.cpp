#include <filesystem>

#include "one_token_test.h"

using namespace softtoken_test;

class softtoken_raw_slots : public one_token_test {
protected:
    std::string file() const { return root() + "/file"; }
};

TEST_F(softtoken_raw_slots, dumped_bytes_are_the_slots) {
    EXPECT_EQ(run_tool("dump one 8130 " + file()).status, 0);
    EXPECT_EQ(file_bytes(file()), "bytes");
    EXPECT_EQ(run_tool("dump one 8131 " + file()).status, 1);
}

TEST_F(softtoken_raw_slots, loaded_file_becomes_the_slot) {
    write_file(file(), "other bytes");
    EXPECT_EQ(run_tool("load one 8130 " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device(), 8130), "other bytes");
    EXPECT_EQ(run_tool("load one 8133 " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device(), 8133), "other bytes");
}

TEST_F(softtoken_raw_slots, missing_slot_is_named_and_no_file_is_made) {
    program_result result = run_tool("dump one 8131 " + file());
    EXPECT_EQ(result.output, "vemra-softtoken: no slot 8131: see \"vemra-softtoken slots one\"\n");
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(softtoken_raw_slots, dumped_file_is_private_whatever_the_umask) {
    ASSERT_EQ(run("umask 0; " SOFTTOKEN_TOOL " dump one 8130 " + file()).status, 0);
    EXPECT_EQ(run("stat -c %a " + file()).output, "600\n");
}

TEST_F(softtoken_raw_slots, dump_over_a_file_that_others_could_read_makes_it_private) {
    write_file(file(), "something longer than the slot's bytes");
    std::filesystem::permissions(file(), std::filesystem::perms(0666));
    ASSERT_EQ(run_tool("dump one 8130 " + file()).status, 0);
    EXPECT_EQ(run("stat -c %a " + file()).output, "600\n");
    EXPECT_EQ(file_bytes(file()), slot_bytes(device(), 8130));
}

TEST_F(softtoken_raw_slots, dump_to_a_pipe_arrives_whole) {
    EXPECT_EQ(run_tool("dump one 8130 /dev/stdout | cat").output, slot_bytes(device(), 8130));
}

TEST_F(softtoken_raw_slots, dump_that_cannot_be_written_whole_leaves_no_file) {
    fill_slot(device(), 8131, std::string(8192, 's'));
    program_result result =
        run("trap '' XFSZ; ulimit -f 4; " SOFTTOKEN_TOOL " dump one 8131 " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vemra-softtoken: " + file() + ": File too large\n");
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(softtoken_raw_slots, dump_through_a_link_that_fails_leaves_the_link) {
    fill_slot(device(), 8131, std::string(8192, 's'));
    write_file(root() + "/target", "");
    std::filesystem::create_symlink("target", file());
    run("trap '' XFSZ; ulimit -f 4; " SOFTTOKEN_TOOL " dump one 8131 " + file());
    EXPECT_TRUE(std::filesystem::is_symlink(file()));
    EXPECT_EQ(file_bytes(root() + "/target"), "");
}

TEST_F(softtoken_raw_slots, dump_to_a_full_device_leaves_the_device) {
    program_result result = run_tool("dump one 8130 /dev/full");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vemra-softtoken: /dev/full: No space left on device\n");
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

TEST_F(softtoken_raw_slots, loaded_slot_keeps_its_attribute_block) {
    constexpr unsigned char attributes[] = {9, 8, 7, 6};
    ASSERT_EQ(VemraPKICryptoCreateData(device(), 8131, attributes, 3), 1);
    write_file(file(), "other bytes");
    ASSERT_EQ(run_tool("load one 8131 " + file()).status, 0);
    ASSERT_EQ(run_tool("load one 8132 " + file()).status, 0);
    EXPECT_EQ(run_tool("slots one").output,
              "  SLOT        BYTES  ATTRIBUTES STATE\n"
              "  8130            5  04010307   written\n"
              "  8131           11  09080706   written\n"
              "  8132           11  04010307   written\n");
}

TEST_F(softtoken_raw_slots, file_that_does_not_fit_leaves_the_slot_alone) {
    ASSERT_EQ(run_tool("profile one --slot-size 6 --capacity 7").status, 0);
    write_file(file(), "seven b");
    program_result result = run_tool("load one 8130 " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vemra-softtoken: " + file() +
                                 " has more than the 6 bytes that are allowed here: name a smaller "
                                 "file\n");
    write_file(file(), "six by");
    result = run_tool("load one 8131 " + file());
    EXPECT_EQ(result.output, "vemra-softtoken: a slot of 6 bytes: 5 bytes of 7 bytes are taken\n");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_EQ(slot_bytes(device(), 8131), "failed: -7");
}

TEST_F(softtoken_raw_slots, directory_or_missing_file_leaves_the_slot_alone) {
    program_result result = run_tool("load one 8130 " + root());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vemra-softtoken: " + root() + ": Is a directory\n");
    EXPECT_EQ(run_tool("load one 8130 /no/such/file").output,
              "vemra-softtoken: /no/such/file: No such file or directory\n");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_raw_slots, slot_numbers_are_checked) {
    EXPECT_EQ(run_tool("dump one -1 " + file()).status, 2);
    EXPECT_EQ(run_tool("dump one 99999999999 " + file()).status, 2);
    EXPECT_EQ(run_tool("load one word " + file()).status, 2);
}
