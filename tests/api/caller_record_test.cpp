// What the fields of a record do when a caller fills or changes them otherwise than the header
// says.

#include <csignal>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "api/api_test.h"

namespace {

class caller_record : public api_test {
protected:
    void SetUp() override { fake.add_device("SN-1", 3); }

    int append() { return VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record); }

    std::string name = "Seal";
    std::string data = "hello";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const stdout_capture unseen;
};

TEST_F(caller_record, of_a_length_above_32_bits_is_stored_cut_with_status_1) {
    record.data_length = 0x100000005;
    EXPECT_EQ(append(), 1);
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(caller_record, of_a_length_whose_low_32_bits_are_0_is_stored_without_bytes_with_status_1) {
    record.data_length = 0x100000000;
    EXPECT_EQ(append(), 1);
    EXPECT_EQ(fake.slot(8130), "");
    EXPECT_EQ(listed_names(), text_lines{"Seal"});
}

TEST_F(caller_record, of_two_gibibytes_or_more_is_a_negative_length_to_the_device) {
    record.data_length = 0x80000000;
    EXPECT_EQ(append(), 0);
    EXPECT_EQ(fake.slot(8127), std::nullopt);
}

TEST_F(caller_record, that_was_handed_out_with_other_data_in_it_releases_that_data) {
    fake.fill_slot(8127, mapping_record("Seal&8130"));
    fake.fill_slot(8130, "hello");
    const listed_stamps all;
    VEMRA_APP_STAMP_RECORD* handed_out = nullptr;
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    ASSERT_EQ(VemraAppStampGetStamp(all.set, 0, &uuid, &uuid_size, &handed_out), 1);
    unsigned char* const own = handed_out->data;

    const long before = allocation_faults::live_blocks();
    handed_out->data = new unsigned char[5];
    VemraAppStampFreeMemory(handed_out->name);
    VemraAppStampFreeStamp(handed_out);
    // Record, owner and name are gone, and the block that the library never made.
    EXPECT_EQ(allocation_faults::live_blocks(), before - 3);

    EXPECT_EQ(VemraAppStampFreeMemory(own), 1);
    VemraAppStampFreeMemory(uuid);
}

TEST_F(caller_record, of_ones_own_given_to_free_stamp_is_released_with_its_data) {
    auto* own = new VEMRA_APP_STAMP_RECORD();
    own->data = new unsigned char[5];
    const long before = allocation_faults::live_blocks();
    EXPECT_EQ(VemraAppStampFreeStamp(own), 1);
    EXPECT_EQ(allocation_faults::live_blocks(), before - 2);
}

TEST_F(caller_record, may_have_the_fields_of_one_that_was_handed_out) {
    fake.fill_slot(8127, mapping_record("Seal&8130"));
    fake.fill_slot(8130, "hello");
    const std::string uuid = uuid_of(0);
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    record.data = stamp.record->data;
    record.data_length = stamp.record->data_length;
    name = "Renamed";
    record.name = name.data();
    record.name_length = 7;
    EXPECT_EQ(VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, &record), 1);
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(listed_names(), text_lines{"Renamed"});
}

TEST_F(caller_record, given_with_the_uuid_of_a_deleted_stamp_is_stored_in_its_place) {
    fake.fill_slot(8127, mapping_record("Old&8130"));
    fake.fill_slot(8130, "old bytes");
    const std::string uuid = uuid_of(0);
    ASSERT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 1);
    ASSERT_EQ(listed_names(), text_lines{});
    EXPECT_EQ(VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, &record), 1);
    EXPECT_EQ(listed_names(), text_lines{"Seal"});
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(caller_record, of_exactly_the_sealed_magic_leaves_its_entry_behind_when_it_is_deleted) {
    data = "VemraSeal";
    record = image_record(name, data);
    ASSERT_EQ(append(), 1);
    const std::string uuid = uuid_of(0);
    EXPECT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 1);
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(listed_names(), text_lines{"Seal"});
}

TEST_F(caller_record, is_stored_where_a_serial_is_compared_at_its_length_and_printed_whole) {
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1, and more", 4, 3, nullptr, &record), 1);
    EXPECT_EQ(captured.lines().at(1),
              " [VERBOSE]  [VemraAppStampAppendStamp] Input `device_sn`       : SN-1, and more");
}

TEST_F(caller_record, of_a_type_that_cannot_be_stored_costs_an_attempt_with_a_wrong_password) {
    record.type = VEMRA_APP_STAMP_TYPE_RESERVED;
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, "wrong", &record), -4);
    EXPECT_EQ(fake.retries("SN-1"), 4);
}

TEST_F(caller_record, for_a_full_device_costs_an_attempt_with_a_wrong_password) {
    fake.fill_slot(8127, mapping_record("A&8130||B&8131||C&8132||D&8133||E&8134"));
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, "wrong", &record), -7);
    EXPECT_EQ(fake.retries("SN-1"), 4);
}

TEST_F(caller_record, for_a_device_that_cannot_be_read_costs_an_attempt_with_a_wrong_password) {
    fake.fill_slot(8127, mapping_record("A&8130"));
    fake.fail_function("VemraPKICryptoReadData", 1);
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, "wrong", &record), 0);
    EXPECT_EQ(fake.retries("SN-1"), 4);
}

}  // namespace
