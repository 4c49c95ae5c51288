// What a call loses though it tells 1 and logs no error, when memory fails or a device answers
// wrongly. The sweeps hold that others lose nothing else.

#include <functional>

#include "api/api_test.h"

namespace {

class silent_loss : public api_test {
protected:
    void SetUp() override {
        add_device_with("A&8130||B&8131");
        fake.fill_slot(8131, "bytes of B");
        known = uuid_of(0);
    }

    /** A call whose success is told without an error line. */
    static void expect_silence(const std::function<void()>& call) {
        const stdout_capture captured;
        call();
        allocation_faults::stop();
        EXPECT_EQ(captured.error_lines(), text_lines{});
        EXPECT_EQ(VemraAppStampGetLastError(), 1);
    }
    void append() {
        expect_silence([&] { VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record); });
    }
    void update() {
        expect_silence([&] { VemraAppStampUpdateStamp(bytes_of(known), 8, nullptr, &record); });
    }
    void remove() {
        expect_silence([&] { VemraAppStampDeleteStamp(bytes_of(known), 8, nullptr); });
    }

    void tell_absent(int nth) {
        fake.fail_function("VemraPKICryptoGetDataLength", nth, fault::failing(-7));
    }

    std::string known;
    std::string name = "Seal";
    std::string data = "new bytes";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
};

TEST_F(silent_loss, of_all_names_and_slot_8130_by_an_append_told_of_no_record) {
    tell_absent(1);
    append();
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
    EXPECT_EQ(fake.slot(8130), "new bytes");
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(silent_loss, of_the_other_names_by_an_update_told_of_no_record) {
    tell_absent(1);
    update();
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(silent_loss, of_the_other_names_by_an_update_without_memory_for_the_record) {
    allocation_faults::fail_nothrow(1);
    update();
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(silent_loss, of_the_other_names_by_a_delete_told_of_no_record) {
    tell_absent(2);
    remove();
    EXPECT_EQ(fake.slot(8127), mapping_record(""));
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(silent_loss, of_the_other_names_by_a_delete_without_memory_for_the_record) {
    allocation_faults::fail_nothrow(2);
    remove();
    EXPECT_EQ(fake.slot(8127), mapping_record(""));
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(silent_loss, of_all_names_by_a_write_of_the_record_that_was_not_made) {
    fake.fail_function("VemraPKICryptoWriteData", 2, fault::claiming_success());
    update();
    EXPECT_EQ(fake.slot(8127), std::string(mapping_record("Seal&8130||B&8131").size(), '\0'));
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(silent_loss, of_the_new_bytes_by_a_write_that_was_not_made) {
    fake.fail_function("VemraPKICryptoWriteData", 1, fault::claiming_success());
    update();
    EXPECT_EQ(fake.slot(8130), std::string(9, '\0'));
}

TEST_F(silent_loss, of_a_deletion_whose_slot_is_told_absent) {
    tell_absent(8);
    remove();
    EXPECT_EQ(fake.slot(8127), mapping_record("B&8131"));
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(silent_loss, of_a_deletion_that_was_not_made) {
    fake.fail_function("VemraPKICryptoDeleteData", 2, fault::claiming_success());
    remove();
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(silent_loss, of_every_stamp_by_a_listing_told_of_no_record) {
    tell_absent(1);
    expect_silence([] { EXPECT_EQ(listed_stamps().count(), 0U); });
}

TEST_F(silent_loss, of_the_uuid_by_a_listing_that_cannot_read_the_serial) {
    fake.fail_function("VemraPKICryptoGetSerialNumber", 2);
    std::string told;
    expect_silence([&] { told = uuid_of(0); });
    EXPECT_EQ(told.size(), known.size());
    EXPECT_NE(told, known);
}

TEST_F(silent_loss, of_the_uuid_by_a_digest_that_leaves_a_part_out) {
    fake.fail_function("VemraPKICryptoHashUpdate", 1, fault::claiming_success());
    std::string told;
    expect_silence([&] { told = uuid_of(0); });
    EXPECT_EQ(told.size(), known.size());
    EXPECT_NE(told, known);
}

TEST_F(silent_loss, of_a_device_asked_for_by_a_serial_that_cannot_be_read) {
    fake.fail_function("VemraPKICryptoGetSerialNumber", 1);
    unsigned int count = 99;
    expect_silence([&] {
        VEMRA_APP_STAMP_SET_HANDLE set = VemraAppStampGetAllStamps(-1, "SN-1", 4, -1);
        VemraAppStampGetStampCount(set, &count);
        VemraAppStampFreeStamps(set);
    });
    EXPECT_EQ(count, 0U);
}

}  // namespace
