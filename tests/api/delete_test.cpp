#include "api/api_test.h"

namespace {

class delete_stamp : public api_test {
protected:
    void SetUp() override {
        add_device_with("Seal&8130");
        uuid = uuid_of(0);
        fake.clear_calls();
    }

    int remove(const char* with_password = password) {
        return VemraAppStampDeleteStamp(bytes_of(uuid), 8, with_password);
    }
    int remove_quietly(const char* with_password = password) {
        const stdout_capture unseen;
        return remove(with_password);
    }

    expected_trace inputs(const std::string& with_password = password) const {
        expected_trace lines("VemraAppStampDeleteStamp");
        lines.verbose("Input `uuid`     : " + hex_text(uuid));
        lines.verbose("Input `uuid_size`: 8");
        lines.verbose("Input `password` : " + with_password);
        return lines;
    }

    std::string uuid;
    int status = -99;
};

TEST_F(delete_stamp, is_traced_whole) {
    EXPECT_EQ(trace([this] { status = remove(); }), text_lines(inputs()));
    EXPECT_EQ(status, 1);
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampGetLastError(), 1);
}

TEST_F(delete_stamp, removes_the_entry_first_and_the_slot_second) {
    fake.fill_slot(8127, mapping_record("Seal&8130||B&8131"));
    remove_quietly();
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .verify(password)
                                           .get(8130, 5)
                                           .get(8127, 22)
                                           .set_anew(8127, 22, mapping_record("B&8131"))
                                           .length(8130)
                                           .remove(8130)));
    EXPECT_EQ(fake.slot(8127), mapping_record("B&8131"));
    EXPECT_EQ(fake.slot(8130), std::nullopt);
}

TEST_F(delete_stamp, of_sealed_bytes_with_a_zero_byte_leaves_the_mapping_alone) {
    fake.fill_slot(8130, std::string("VemraSeal\0", 10));
    EXPECT_EQ(remove_quietly(), 1);
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
    EXPECT_EQ(fake.slot(8130), std::nullopt);
}

TEST_F(delete_stamp, twice_without_a_listing_is_1_both_times) {
    fake.fill_slot(8127, mapping_record("Seal&8130||B&8131"));
    EXPECT_EQ(remove_quietly(), 1);
    fake.clear_calls();
    EXPECT_EQ(remove_quietly(), 1);
    // The slot is gone, the mapping is written once more with the same entries.
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .verify(password)
                                           .length(8130)
                                           .get(8127, 11)
                                           .set_in_place(8127, mapping_record("B&8131"))
                                           .length(8130)));
    EXPECT_EQ(fake.slot(8127), mapping_record("B&8131"));
}

TEST_F(delete_stamp, with_a_wrong_password_is_logged_with_the_retries_and_still_deletes) {
    EXPECT_EQ(trace([this] { status = remove("wrong"); }),
              text_lines(inputs("wrong").error(
                  "Unable to verify password, because: wrong password(16, you can retry 4 more "
                  "times.")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(fake.slot(8130), std::nullopt);
}

TEST_F(delete_stamp, leaves_its_uuid_to_the_next_stamp_in_the_slot) {
    remove_quietly();
    std::string name = "Next";
    std::string data = "next bytes";
    const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    {
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record), 1);
    }
    EXPECT_EQ(uuid_of(0), uuid);
    EXPECT_EQ(remove_quietly(), 1);
    EXPECT_EQ(listed_names(), text_lines{});
}

}  // namespace
