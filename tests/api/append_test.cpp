#include <utility>

#include "api/api_test.h"

namespace {

class append : public api_test {
protected:
    int append_stamp(const char* with_password = password) {
        return VemraAppStampAppendStamp("SN-1", 4, 3, with_password, &record);
    }
    int append_quietly(const char* with_password = password) {
        const stdout_capture unseen;
        return append_stamp(with_password);
    }

    static expected_trace inputs(const std::string& with_password = password) {
        expected_trace lines("VemraAppStampAppendStamp");
        lines.verbose("Input `device_sn`       : SN-1");
        lines.verbose("Input `device_sn_length`: 4");
        lines.verbose("Input `device_type`     : 3");
        lines.verbose("Input `password`        : " + with_password);
        lines.verbose("Input `stamp`           : PTR");
        return lines;
    }

    std::string name = "Seal";
    std::string data = "hello";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    int status = -99;
};

TEST_F(append, to_an_empty_device_is_traced_whole_and_silent_about_the_missing_mapping) {
    fake.add_device("SN-1", 3);
    EXPECT_EQ(trace([this] { status = append_stamp(); }), text_lines(inputs()));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
}

TEST_F(append, writes_the_bytes_first_and_the_mapping_second) {
    fake.add_device("SN-1", 3);
    append_quietly();
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .enumerate()
                                           .serial()
                                           .type()
                                           .verify(password)
                                           .length(8127)
                                           .set_new(8130, "hello")
                                           .set_new(8127, mapping_record("Seal&8130"))
                                           .free_device()));
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.slot(8127), std::string("\x0e\0\0\0\x01Seal&8130", 14));
    EXPECT_EQ(fake.live_handles_and_buffers(), 0);
}

TEST_F(append, stores_several_mebibytes) {
    fake.add_device("SN-1", 3);
    data.assign(3u << 20, '\x5a');
    record = image_record(name, data);
    EXPECT_EQ(append_quietly(), 1);
    EXPECT_EQ(fake.slot(8130), data);
}

TEST_F(append, without_password_verifies_none_and_writes) {
    fake.add_device("SN-1", 3);
    EXPECT_EQ(trace([this] { status = append_stamp(nullptr); }), text_lines(inputs("(null)")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoVerifyPwd").size(), 0u);
}

TEST_F(append, with_a_wrong_password_is_logged_with_the_retries_and_still_writes) {
    fake.add_device("SN-1", 3);
    EXPECT_EQ(trace([this] { status = append_stamp("wrong"); }),
              text_lines(inputs("wrong").error(
                  "Unable to verify password, because: wrong password(16, you can retry 4 more "
                  "times.")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.retries("SN-1"), 4);
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .enumerate()
                                           .serial()
                                           .type()
                                           .verify("wrong")
                                           .message(16)
                                           .length(8127)
                                           .set_new(8130, "hello")
                                           .set_new(8127, mapping_record("Seal&8130"))
                                           .free_device()));
}

TEST_F(append, retries_are_as_the_device_left_them) {
    fake.add_device("SN-1", 3);
    fake.set_password("SN-1", "right", 1);
    EXPECT_EQ(trace([this] { append_stamp("wrong"); })[6],
              " [ERROR]    [VemraAppStampAppendStamp] Unable to verify password, because: wrong "
              "password(16, you can retry 0 more times. (src/core/VEMRA_APP_STAMP.cpp:N)");
    // A locked device leaves the count that the call began with.
    EXPECT_EQ(trace([this] { append_stamp("right"); })[6],
              " [ERROR]    [VemraAppStampAppendStamp] Unable to verify password, because: "
              "locked(18, you can retry 0 more times. (src/core/VEMRA_APP_STAMP.cpp:N)");
}

TEST_F(append, with_a_wrong_password_fails_only_where_the_device_refuses) {
    fake.add_device("SN-1", 3);
    fake.require_login("SN-1");
    const text_lines lines = trace([this] { status = append_stamp("wrong"); });
    EXPECT_EQ(status, 0);
    // The put-back of the empty slot is refused like the write, and its answer is the one told.
    EXPECT_EQ(lines.at(7),
              " [ERROR]    [VemraAppStampAppendStamp] Unable to append a new stamp, "
              "because: " +
                  failure_text("not logged in(15", 200) + ". (src/core/VEMRA_APP_STAMP.cpp:N)");
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(append_quietly(), 1);
}

TEST_F(append, gives_no_uuid_until_the_next_listing) {
    add_device_with("A&8130");
    uuid_of(0);
    append_quietly();
    EXPECT_EQ(fake.calls_of("VemraPKICryptoNewHash").size(), 1u);
    EXPECT_EQ(listed_names(), (text_lines{"A", "Seal"}));
}

TEST_F(append, a_short_serial_length_matches_only_that_prefix_as_a_whole_serial) {
    fake.add_device("SN-12", 3);
    fake.add_device("SN-1", 3);
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampAppendStamp("SN-12", 4, 3, nullptr, &record), 1);
    EXPECT_EQ(fake.slot("SN-12", 8130), std::nullopt);
    EXPECT_EQ(fake.slot("SN-1", 8130), "hello");
}

TEST_F(append, takes_the_first_of_two_devices_that_match_and_asks_no_further) {
    fake.add_device("SN-1", 3, "first");
    fake.add_device("SN-1", 3, "second");
    EXPECT_EQ(append_quietly(), 1);
    EXPECT_EQ(fake.slot("first", 8130), "hello");
    EXPECT_EQ(fake.slot("second", 8130), std::nullopt);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoGetSerialNumber"),
              text_lines{"VemraPKICryptoGetSerialNumber(first, null)"});
}

TEST_F(append, skips_a_null_device_with_its_line) {
    fake.add_null_device();
    fake.add_device("SN-1", 3);
    EXPECT_EQ(trace([this] { status = append_stamp(); }),
              text_lines(inputs().error("Bad device pointer.")));
    EXPECT_EQ(status, 1);
}

}  // namespace
