#include <stdexcept>

#include "api/api_test.h"

namespace {

class append_failure : public api_test {
protected:
    /** Appends; the lines between the five input lines and the exit line. */
    text_lines lines_of_append() {
        text_lines lines = trace([this] {
            status = VemraAppStampAppendStamp(serial, serial_length, type, nullptr, stamp);
        });
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampGetLastError(), status);
        EXPECT_EQ(lines.front(),
                  " [VERBOSE]  [VemraAppStampAppendStamp] >>>> VemraAppStampAppendStamp");
        EXPECT_EQ(lines.back(),
                  " [VERBOSE]  [VemraAppStampAppendStamp] <<<< VemraAppStampAppendStamp");
        return text_lines(lines.begin() + 6, lines.end() - 1);
    }

    static std::string error(const std::string& message) {
        return " [ERROR]    [VemraAppStampAppendStamp] " + message +
               " (src/core/VEMRA_APP_STAMP.cpp:N)";
    }

    /** A bad argument: its line and status, and no call of the device library. */
    void expect_refusal(const std::string& message, int expected_status) {
        EXPECT_EQ(lines_of_append(), text_lines{error(message)});
        EXPECT_EQ(status, expected_status);
        EXPECT_EQ(fake.calls(), text_lines{});
    }

    expected_calls found() { return expected_calls().enumerate().serial().type(); }

    const char* serial = "SN-1";
    unsigned int serial_length = 4;
    int type = 3;
    std::string name = "Seal";
    std::string data = "hello";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const VEMRA_APP_STAMP_RECORD* stamp = &record;
    int status = -99;
};

TEST_F(append_failure, serial_length_0_is_minus_2) {
    serial_length = 0;
    expect_refusal("Bad device sn.", -2);
}

TEST_F(append_failure, arguments_are_checked_in_their_order) {
    // Everything is wrong; each repair shows the next check.
    serial = nullptr;
    type = -1;
    stamp = nullptr;
    record.type = 5;
    record.data = nullptr;
    record.data_length = 0;
    record.name_length = 0;
    expect_refusal("Bad device sn.", -2);
    serial = "SN-1";
    expect_refusal("Bad device type.", -2);
    type = 3;
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
    EXPECT_EQ(lines_of_append(), text_lines{error("No device.")});
}

TEST_F(append_failure, inputs_are_traced_before_any_check) {
    const text_lines lines =
        trace([] { VemraAppStampAppendStamp(nullptr, 0, -1, nullptr, nullptr); });
    EXPECT_EQ(lines, text_lines(expected_trace("VemraAppStampAppendStamp")
                                    .verbose("Input `device_sn`       : (null)")
                                    .verbose("Input `device_sn_length`: 0")
                                    .verbose("Input `device_type`     : -1")
                                    .verbose("Input `password`        : (null)")
                                    .verbose("Input `stamp`           : (nil)")
                                    .error("Bad device sn.")));
}

TEST_F(append_failure, no_device_is_0) {
    EXPECT_EQ(lines_of_append(), text_lines{error("No device.")});
    EXPECT_EQ(status, 0);
}

TEST_F(append_failure, no_device_with_the_serial_is_0) {
    fake.add_device("SN-2", 3);
    EXPECT_EQ(lines_of_append(),
              text_lines{error("Unable to find a matched device by given serial number.")});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoGetType").size(), 0u);
}

TEST_F(append_failure, a_type_that_cannot_be_read_escapes_as_a_runtime_error) {
    fake.add_device("SN-1", 3);
    fake.fail_function("VemraPKICryptoGetType", 1);
    const stdout_capture unseen;
    try {
        VemraAppStampAppendStamp(serial, serial_length, type, nullptr, stamp);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& escaped) {
        EXPECT_EQ(escaped.what(), failure_text("scripted failure(17", 79));
    }
}

TEST_F(append_failure, a_serial_whose_reading_throws_escapes) {
    fake.add_device("SN-1", 3);
    fake.fail_function("VemraPKICryptoGetSerialNumber", 1, fault::throwing_runtime_error());
    const stdout_capture captured;
    EXPECT_THROW(VemraAppStampAppendStamp(serial, serial_length, type, nullptr, stamp),
                 std::runtime_error);
    EXPECT_EQ(captured.lines().back(),
              " [VERBOSE]  [VemraAppStampAppendStamp] <<<< VemraAppStampAppendStamp");
    EXPECT_EQ(fake.live_handles_and_buffers(), 0);
}

TEST_F(append_failure, the_last_status_stays_when_an_exception_escapes) {
    fake.add_device("SN-1", 3);
    fake.fail_function("VemraPKICryptoGetType", 1);
    const stdout_capture unseen;
    VemraAppStampGetStampType(nullptr, nullptr);
    EXPECT_THROW(VemraAppStampAppendStamp(serial, serial_length, type, nullptr, stamp),
                 std::runtime_error);
    EXPECT_EQ(VemraAppStampGetLastError(), -1);
}

TEST_F(append_failure, a_password_check_that_throws_escapes) {
    fake.add_device("SN-1", 3);
    fake.fail_function("VemraPKICryptoVerifyPwd", 1, fault::throwing_runtime_error());
    const stdout_capture captured;
    EXPECT_THROW(VemraAppStampAppendStamp(serial, serial_length, type, "pw", stamp),
                 std::runtime_error);
    EXPECT_EQ(captured.lines().back(),
              " [VERBOSE]  [VemraAppStampAppendStamp] <<<< VemraAppStampAppendStamp");
}

TEST_F(append_failure, a_mapping_that_cannot_be_read_is_0_and_nothing_is_written) {
    add_device_with("A&8130");
    fake.fail_function("VemraPKICryptoReadData", 1);
    EXPECT_EQ(lines_of_append(), text_lines{error("Unable to get stamp info from 8127, because: " +
                                                  failure_text("scripted failure(17", 176) + ".")});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.calls(), text_lines(found().get(8127, 11).message(17).free_device()));
}

TEST_F(append_failure, a_mapping_that_cannot_be_written_leaves_the_bytes_unlisted) {
    add_device_with("A&8130");
    const std::optional<std::string> mapping = fake.slot(8127);
    fake.fail_function("VemraPKICryptoWriteData", 2);
    EXPECT_EQ(lines_of_append(), text_lines{error("Unable to append a new stamp, because: " +
                                                  failure_text("scripted failure(17", 253) + ".")});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.slot(8131), "hello");
    EXPECT_EQ(fake.slot(8127), mapping);
    EXPECT_EQ(fake.calls(), text_lines(found()
                                           .get(8127, 11)
                                           .set_new(8131, "hello")
                                           .set_anew(8127, 11, mapping_record("A&8130||Seal&8131"))
                                           .length(8127)
                                           .remove(8127)
                                           .length(8127)
                                           .create(8127, 11)
                                           .write(8127, mapping_record("A&8130"))
                                           .message(17)
                                           .free_device()));
    EXPECT_EQ(listed_names(), text_lines{"A"});
}

TEST_F(append_failure, a_write_that_throws_is_0_with_its_text) {
    fake.add_device("SN-1", 3);
    fake.fail_function("VemraPKICryptoWriteData", 1, fault::throwing_runtime_error());
    EXPECT_EQ(lines_of_append(), text_lines{error("Unable to append a new stamp, because: thrown "
                                                  "by the device library.")});
    EXPECT_EQ(status, 0);
}

TEST_F(append_failure, without_memory_for_the_mapping_the_stamp_in_8130_is_overwritten) {
    add_device_with("A&8130||B&8131");
    fake.fill_slot(8130, "bytes of A");
    fake.fill_slot(8131, "bytes of B");
    // The device is the first block, the bytes of 8127 are the second.
    const stdout_capture unseen;
    allocation_faults::fail_nothrow(2);
    const int appended = VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record);
    EXPECT_TRUE(allocation_faults::fired());
    allocation_faults::stop();
    EXPECT_EQ(appended, 1);
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

}  // namespace
