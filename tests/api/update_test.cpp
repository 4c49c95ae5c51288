#include "api/api_test.h"

namespace {

class update : public api_test {
protected:
    void SetUp() override {
        add_device_with("Old&8130");
        uuid = uuid_of(0);
        fake.clear_calls();
    }

    int update_stamp(const char* with_password = password) {
        return VemraAppStampUpdateStamp(bytes_of(uuid), 8, with_password, &record);
    }
    int update_quietly(const char* with_password = password) {
        const stdout_capture unseen;
        return update_stamp(with_password);
    }

    expected_trace inputs(const std::string& with_password = password) const {
        expected_trace lines("VemraAppStampUpdateStamp");
        lines.verbose("Input `uuid`     : " + hex_text(uuid));
        lines.verbose("Input `uuid_size`: 8");
        lines.verbose("Input `password` : " + with_password);
        lines.verbose("Input `stamp`    : PTR");
        return lines;
    }

    std::string uuid;
    std::string name = "Seal";
    std::string data = "new bytes";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    int status = -99;
};

TEST_F(update, is_traced_whole) {
    EXPECT_EQ(trace([this] { status = update_stamp(); }), text_lines(inputs()));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
}

TEST_F(update, enumerates_nothing_and_writes_the_bytes_first_the_mapping_second) {
    update_quietly();
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .verify(password)
                                           .get(8127, 13)
                                           .set_anew(8130, 5, "new bytes")
                                           .set_anew(8127, 13, mapping_record("Seal&8130"))));
    EXPECT_EQ(fake.slot(8130), "new bytes");
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
}

TEST_F(update, leaves_the_uuid_good_for_the_same_slot) {
    update_quietly();
    EXPECT_EQ(uuid_of(0), uuid);
    data = "third";
    record = image_record(name, data);
    EXPECT_EQ(update_quietly(), 1);
    EXPECT_EQ(fake.slot(8130), "third");
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 1);
    EXPECT_EQ(fake.slot(8130), std::nullopt);
}

TEST_F(update, with_a_wrong_password_is_logged_with_the_retries_and_still_writes) {
    EXPECT_EQ(trace([this] { status = update_stamp("wrong"); }),
              text_lines(inputs("wrong").error(
                  "Unable to verify password, because: wrong password(16, you can retry 4 more "
                  "times.")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(fake.slot(8130), "new bytes");
}

TEST_F(update, of_the_reserved_type_is_minus_4_after_lookup_and_password_without_a_line) {
    record.type = 0;
    EXPECT_EQ(trace([this] { status = update_stamp(); }), text_lines(inputs()));
    EXPECT_EQ(status, -4);
    EXPECT_EQ(last_status(), -4);
    EXPECT_EQ(fake.calls(), text_lines(expected_calls().verify(password)));
}

TEST_F(update, takes_a_record_that_was_taken_out_of_a_set) {
    const stdout_capture unseen;
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    EXPECT_EQ(VemraAppStampUpdateStamp(stamp.uuid, stamp.uuid_size, nullptr, stamp.record), 1);
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.slot(8127), mapping_record("Old&8130"));
}

}  // namespace
