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

TEST_F(update_failure, a_mapping_that_cannot_be_written_leaves_new_bytes_under_the_old_name) {
    fake.fail_function("VemraPKICryptoWriteData", 2);
    EXPECT_EQ(lines_of_update(), text_lines{update_error("scripted failure(17", 253)});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.slot(8130), "new bytes");
    EXPECT_EQ(fake.slot(8127), mapping_record("Old&8130"));
}

}  // namespace
