#include <array>

#include "knob_test.h"

using namespace softtoken_test;

class softtoken_knob_slot : public knob_test {
protected:
    int create(const char* attributes, int id = 8131, int size = 4) const {
        return VemraPKICryptoCreateData(device(), id,
                                        reinterpret_cast<const unsigned char*>(attributes), size);
    }
    int remove(int id) const { return VemraPKICryptoDeleteData(device(), id); }
};

TEST_F(softtoken_knob_slot, absent_slot_has_a_code_another_one_or_length_0) {
    std::string bytes;
    EXPECT_EQ(told_length(8133), -7);
    turn({{"codes", R"({"-7": -5})"}});
    EXPECT_EQ(told_length(8133), -5);
    EXPECT_EQ(read(8133, 4, bytes), -5);
    turn({{"absent-slot", "empty"}});
    EXPECT_EQ(told_length(8133), 0);
    EXPECT_EQ(read(8133, 4, bytes), 1);
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(write_slot(device(), 8133, ""), -7);
}

TEST_F(softtoken_knob_slot, told_length_is_rounded_up_and_the_rest_is_padding) {
    std::string bytes;
    EXPECT_EQ(told_length(8130), 5);
    turn({{"length-block", "4"}});
    EXPECT_EQ(told_length(8130), 8);
    EXPECT_EQ(read(8130, 7, bytes), -110);
    EXPECT_EQ(read(8130, 8, bytes), 1);
    EXPECT_EQ(bytes, std::string("bytes\0\0\0", 8));
    turn({{"length-block", "16"}, {"length-padding", "255"}});
    EXPECT_EQ(read(8130, 20, bytes), 1);
    EXPECT_EQ(bytes, "bytes" + std::string(11, '\xff'));
    turn({{"length-block", "5"}});
    EXPECT_EQ(told_length(8130), 5);
}

TEST_F(softtoken_knob_slot, reading_gives_so_many_bytes_and_says_so) {
    std::string bytes;
    turn({{"read-most", "3"}});
    EXPECT_EQ(told_length(8130), 5);
    EXPECT_EQ(read(8130, 5, bytes), 1);
    EXPECT_EQ(bytes, "byt");
    turn({{"read-most", "5"}});
    EXPECT_EQ(read(8130, 5, bytes), 1);
    EXPECT_EQ(bytes, "bytes");
}

TEST_F(softtoken_knob_slot, buffer_beyond_the_slot_may_be_refused) {
    std::string bytes;
    EXPECT_EQ(read(8130, 6, bytes), 1);
    turn({{"read-buffer", "fitting"}});
    EXPECT_EQ(read(8130, 6, bytes), -102);
    EXPECT_EQ(read(8130, 5, bytes), 1);
    EXPECT_EQ(bytes, "bytes");
}

TEST_F(softtoken_knob_slot, writing_takes_so_many_bytes_of_a_call) {
    turn({{"write-most", "2"}});
    EXPECT_EQ(write_slot(device(), 8130, "OTHER"), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "OTtes");
}

TEST_F(softtoken_knob_slot, shorter_write_is_refused_or_fills_the_beginning) {
    EXPECT_EQ(write_slot(device(), 8130, "OT"), -109);
    turn({{"write-length", "shorter"}});
    EXPECT_EQ(write_slot(device(), 8130, "OT"), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "OTtes");
    EXPECT_EQ(write_slot(device(), 8130, "longer"), -109);
}

TEST_F(softtoken_knob_slot, written_slot_may_have_to_be_deleted_first) {
    turn({{"rewrite", "refused"}});
    EXPECT_EQ(write_slot(device(), 8130, "other"), -108);
    EXPECT_EQ(remove(8130), 1);
    EXPECT_EQ(fill_slot(device(), 8130, "other"), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "other");
}

TEST_F(softtoken_knob_slot, empty_slot_may_not_be_made_or_made_again) {
    ASSERT_EQ(create_slot(device(), 8131, 0), 1);
    EXPECT_EQ(create_slot(device(), 8131, 0), 1);
    turn({{"remake-empty", "refused"}});
    EXPECT_EQ(create_slot(device(), 8131, 4), -108);
    EXPECT_EQ(create_slot(device(), 8132, 0), 1);
    turn({{"create-empty", "refused"}});
    EXPECT_EQ(create_slot(device(), 8133, 0), -102);
    EXPECT_EQ(create_slot(device(), 8131, 4), 1);
}

TEST_F(softtoken_knob_slot, attribute_blocks_may_be_refused_or_one_needed) {
    turn({{"attributes-refused", "00000000,04010307"}});
    EXPECT_EQ(create("\x04\x01\x03\x07"), -102);
    EXPECT_EQ(create("\0\0\0\0"), -102);
    EXPECT_EQ(create("\0\0\0\1"), 1);
    turn({{"attributes-needed", "04010307"}});
    EXPECT_EQ(create("\0\0\0\1", 8132), -102);
    EXPECT_EQ(create("\x04\x01\x03\x07", 8132), 1);
}

TEST_F(softtoken_knob_slot, numbers_may_have_a_range) {
    EXPECT_EQ(create_slot(device(), 0, 4), 1);
    turn({{"lowest-slot", "8127"}, {"highest-slot", "8133"}});
    EXPECT_EQ(create_slot(device(), 8126, 4), -102);
    EXPECT_EQ(create_slot(device(), 8134, 4), -102);
    EXPECT_EQ(create_slot(device(), 8127, 4), 1);
    EXPECT_EQ(create_slot(device(), 8133, 4), 1);
}

TEST_F(softtoken_knob_slot, token_may_say_success_and_do_something_else) {
    turn({{"lie", "writes-nothing"}});
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    turn({{"lie", "writes-other-bytes"}});
    EXPECT_EQ(write_slot(device(), 8130, std::string("\0\xff\x0f\xf0\x55", 5)), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), std::string("\xff\0\xf0\x0f\xaa", 5));
    turn({{"lie", "deletes-nothing"}});
    EXPECT_EQ(remove(8130), 1);
    EXPECT_EQ(told_length(8130), 5);
    EXPECT_EQ(remove(8133), -7);
    EXPECT_EQ(run_tool("fsck one").output, "one: sound\n");
}

TEST_F(softtoken_knob_slot, worn_out_slot_takes_no_more_writes_even_made_anew) {
    turn({{"slot-writes", "2"}});
    EXPECT_EQ(write_slot(device(), 8130, "first"), 1);
    EXPECT_EQ(remove(8130), 1);
    EXPECT_EQ(fill_slot(device(), 8130, "again"), 1);
    EXPECT_EQ(write_slot(device(), 8130, "third"), -122);
    EXPECT_EQ(slot_bytes(device(), 8130), "again");
    EXPECT_EQ(fill_slot(device(), 8131, "other"), 1);
}

TEST_F(softtoken_knob_slot, room_of_a_deleted_slot_may_come_back_after_replugging) {
    turn({{"room-of-deleted", "after-replug"}, {"capacity", "8"}});
    EXPECT_EQ(remove(8130), 1);
    EXPECT_EQ(create_slot(device(), 8130, 4), -111);
    EXPECT_EQ(create_slot(device(), 8130, 3), 1);
    EXPECT_EQ(remove(8130), 1);
    detach("one");
    attach("one");
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(create_slot(device(), 8130, 8), 1);
}
