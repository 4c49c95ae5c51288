#include <stdexcept>

#include "api/api_test.h"

namespace {

class update_failure : public api_test {
protected:
    void SetUp() override {
        add_device_with("Old&8130");
        known = uuid_of(0);
        uuid = bytes_of(known);
        fake.clear_calls();
    }

    /** Updates; the lines between the four input lines and the exit line. */
    text_lines lines_of_update() {
        text_lines lines =
            trace([this] { status = VemraAppStampUpdateStamp(uuid, size, nullptr, stamp); });
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampGetLastError(), status);
        EXPECT_EQ(lines.back(),
                  " [VERBOSE]  [VemraAppStampUpdateStamp] <<<< VemraAppStampUpdateStamp");
        return text_lines(lines.begin() + 5, lines.end() - 1);
    }

    static std::string error(const std::string& message) {
        return " [ERROR]    [VemraAppStampUpdateStamp] " + message +
               " (src/core/VEMRA_APP_STAMP.cpp:N)";
    }
    static std::string update_error(const std::string& text_and_code, int line) {
        return error("Unable to update stamp, because: " + failure_text(text_and_code, line) + ".");
    }

    /** A bad argument: its line and status, and no call of the device library. */
    void expect_refusal(const std::string& message, int expected_status) {
        EXPECT_EQ(lines_of_update(), text_lines{error(message)});
        EXPECT_EQ(status, expected_status);
        EXPECT_EQ(fake.calls(), text_lines{});
    }

    std::string known;
    const unsigned char* uuid = nullptr;
    unsigned int size = 8;
    std::string name = "Seal";
    std::string data = "new bytes";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const VEMRA_APP_STAMP_RECORD* stamp = &record;
    int status = -99;
};

TEST_F(update_failure, uuid_size_0_is_0) {
    size = 0;
    expect_refusal("Bad uuid.", 0);
}

TEST_F(update_failure, a_null_uuid_is_0_and_traced_as_empty_text) {
    uuid = nullptr;
    expect_refusal("Bad uuid.", 0);
    EXPECT_EQ(trace([this] { VemraAppStampUpdateStamp(nullptr, 8, nullptr, stamp); })[1],
              " [VERBOSE]  [VemraAppStampUpdateStamp] Input `uuid`     : ");
}

TEST_F(update_failure, an_unknown_uuid_is_0) {
    const std::string unknown = "unknown!";
    uuid = bytes_of(unknown);
    expect_refusal("Unable to find a device by this uuid.", 0);
}

TEST_F(update_failure, a_uuid_is_known_only_whole) {
    size = 7;
    expect_refusal("Unable to find a device by this uuid.", 0);
}

TEST_F(update_failure, arguments_are_checked_in_their_order) {
    const std::string unknown = "unknown!";
    uuid = nullptr;
    stamp = nullptr;
    record.type = 5;
    record.data = nullptr;
    record.data_length = 0;
    record.name_length = 0;
    expect_refusal("Bad uuid.", 0);
    uuid = bytes_of(unknown);
    expect_refusal("Bad stamp.", -2);
    stamp = &record;
    expect_refusal("Bad stamp type: 5.", -1);
    record.type = 0;
    expect_refusal("Bad stamp data.", -1);
    record.data = reinterpret_cast<unsigned char*>(data.data());
    expect_refusal("Bad stamp size.", -1);
    record.data_length = 5;
    expect_refusal("Bad stamp name.", -1);
    record.name_length = 4;
    expect_refusal("Unable to find a device by this uuid.", 0);
}

TEST_F(update_failure, inputs_are_traced_before_any_check) {
    EXPECT_EQ(trace([] { VemraAppStampUpdateStamp(nullptr, 0, "pw", nullptr); }),
              text_lines(expected_trace("VemraAppStampUpdateStamp")
                             .verbose("Input `uuid`     : ")
                             .verbose("Input `uuid_size`: 0")
                             .verbose("Input `password` : pw")
                             .verbose("Input `stamp`    : (nil)")
                             .error("Bad uuid.")));
}

TEST_F(update_failure, a_mapping_whose_length_cannot_be_read_is_0) {
    fake.fail_function("VemraPKICryptoGetDataLength", 1);
    EXPECT_EQ(lines_of_update(), text_lines{error("Unable to get stamp info from 8127, because: " +
                                                  failure_text("scripted failure(17", 147) + ".")});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.calls(), text_lines(expected_calls().length(8127).message(17)));
}

TEST_F(update_failure, a_mapping_that_cannot_be_read_is_0_and_nothing_is_written) {
    fake.fail_function("VemraPKICryptoReadData", 1);
    EXPECT_EQ(lines_of_update(), text_lines{error("Unable to get stamp info from 8127, because: " +
                                                  failure_text("scripted failure(17", 176) + ".")});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.calls(), text_lines(expected_calls().get(8127, 13).message(17)));
}

TEST_F(update_failure, a_write_that_fails_puts_the_old_bytes_back_and_leaves_the_mapping) {
    const std::optional<std::string> mapping = fake.slot(8127);
    fake.fail_function("VemraPKICryptoWriteData", 1);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 253)});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.slot(8127), mapping);
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .get(8127, 13)
                                           .set_anew(8130, 5, "new bytes")
                                           .length(8130)
                                           .remove(8130)
                                           .length(8130)
                                           .create(8130, 5)
                                           .write(8130, "hello")
                                           .message(17)));
}

TEST_F(update_failure, a_slot_that_cannot_be_created_again_gets_its_old_bytes_back) {
    fake.fail_function("VemraPKICryptoCreateData", 1);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 241)});
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(update_failure, a_slot_that_cannot_be_deleted_keeps_its_bytes) {
    fake.fail_function("VemraPKICryptoDeleteData", 1);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 269)});
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(update_failure, a_backup_that_cannot_be_read_leaves_the_slot_alone) {
    fake.fail_function("VemraPKICryptoReadData", 2);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 176)});
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.calls_of("VemraPKICryptoDeleteData").size(), 0u);
}

TEST_F(update_failure, a_put_back_that_fails_replaces_the_failure) {
    fake.fail_function("VemraPKICryptoCreateData", 1, fault::failing(17).lasting());
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 200)});
    EXPECT_EQ(fake.slot(8130), std::nullopt);
}

TEST_F(update_failure, a_backup_left_by_a_failed_put_back_ends_up_in_a_new_slot) {
    // The first update loses "hello" into the backup; the second finds no slot, fails to write,
    // and puts that backup back.
    fake.fail_function("VemraPKICryptoCreateData", 1, fault::failing(17).lasting());
    lines_of_update();
    fake.clear_faults();
    fake.fail_function("VemraPKICryptoWriteData", 1);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 253)});
    EXPECT_EQ(fake.slot(8130), "hello");
}

TEST_F(update_failure, a_backup_is_forgotten_once_it_was_put_back) {
    fake.fail_function("VemraPKICryptoWriteData", 1);
    lines_of_update();
    ASSERT_EQ(fake.slot(8130), "hello");
    fake.empty_slot("SN-1", 8130);
    fake.fail_function("VemraPKICryptoWriteData", 1);
    lines_of_update();
    EXPECT_EQ(fake.slot(8130), "");
}

TEST_F(update_failure, a_backup_is_forgotten_once_the_new_bytes_are_written) {
    EXPECT_EQ(lines_of_update(), text_lines{});
    fake.empty_slot("SN-1", 8130);
    fake.fail_function("VemraPKICryptoWriteData", 1);
    lines_of_update();
    EXPECT_EQ(fake.slot(8130), "");
}

TEST_F(update_failure, a_mapping_that_cannot_be_written_leaves_new_bytes_under_the_old_name) {
    fake.fail_function("VemraPKICryptoWriteData", 2);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 253)});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.slot(8130), "new bytes");
    EXPECT_EQ(fake.slot(8127), mapping_record("Old&8130"));
}

TEST_F(update_failure, a_write_that_throws_is_0_with_its_text) {
    fake.fail_function("VemraPKICryptoWriteData", 1, fault::throwing_runtime_error());
    EXPECT_EQ(lines_of_update(),
              text_lines{error("Unable to update stamp, because: thrown by the device "
                               "library.")});
    EXPECT_EQ(status, 0);
}

TEST_F(update_failure, a_mapping_read_that_throws_is_0_with_its_text) {
    fake.fail_function("VemraPKICryptoReadData", 1, fault::throwing_runtime_error());
    EXPECT_EQ(lines_of_update(), text_lines{error("Unable to get stamp info from 8127, because: "
                                                  "thrown by the device library.")});
    EXPECT_EQ(status, 0);
}

TEST_F(update_failure, exceptions_that_are_not_standard_escape_and_the_device_stays_usable) {
    for (const char* function : {"VemraPKICryptoReadData", "VemraPKICryptoDeleteData",
                                 "VemraPKICryptoCreateData", "VemraPKICryptoWriteData"}) {
        fake.clear_faults();
        fake.fill_slot(8130, "hello");
        fake.fill_slot(8127, mapping_record("Old&8130"));
        fake.fail_function(function, 1, fault::throwing_int());
        const stdout_capture captured;
        EXPECT_THROW(VemraAppStampUpdateStamp(uuid, size, nullptr, stamp), int) << function;
        EXPECT_EQ(captured.lines().back(),
                  " [VERBOSE]  [VemraAppStampUpdateStamp] <<<< VemraAppStampUpdateStamp");
        EXPECT_EQ(VemraAppStampUpdateStamp(uuid, size, nullptr, stamp), 1) << function;
    }
}

TEST_F(update_failure, a_password_check_that_throws_escapes) {
    fake.fail_function("VemraPKICryptoVerifyPwd", 1, fault::throwing_runtime_error());
    const stdout_capture captured;
    EXPECT_THROW(VemraAppStampUpdateStamp(uuid, size, "pw", stamp), std::runtime_error);
    EXPECT_EQ(captured.lines().back(),
              " [VERBOSE]  [VemraAppStampUpdateStamp] <<<< VemraAppStampUpdateStamp");
}

}  // namespace
