#include "api/api_test.h"

namespace {

class delete_failure : public api_test {
protected:
    void SetUp() override {
        add_device_with("Seal&8130||B&8131");
        known = uuid_of(0);
        uuid = bytes_of(known);
        fake.clear_calls();
    }

    /** Deletes; the lines between the three input lines and the exit line. */
    text_lines lines_of_delete() {
        text_lines lines =
            trace([this] { status = VemraAppStampDeleteStamp(uuid, size, nullptr); });
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampGetLastError(), status);
        EXPECT_EQ(lines.back(),
                  " [VERBOSE]  [VemraAppStampDeleteStamp] <<<< VemraAppStampDeleteStamp");
        return text_lines(lines.begin() + 4, lines.end() - 1);
    }

    /** A failure that ends with this line and status 0. */
    void expect_failure(const std::string& message) {
        EXPECT_EQ(lines_of_delete(), text_lines{" [ERROR]    [VemraAppStampDeleteStamp] " +
                                                message + " (src/core/VEMRA_APP_STAMP.cpp:N)"});
        EXPECT_EQ(status, 0);
    }

    bool is_unchanged() const {
        return fake.slot(8130) == "hello" && fake.slot(8127) == mapping_record("Seal&8130||B&8131");
    }

    std::string known;
    const unsigned char* uuid = nullptr;
    unsigned int size = 8;
    int status = -99;
};

TEST_F(delete_failure, a_null_uuid_is_0_and_traced_as_empty_text) {
    EXPECT_EQ(trace([this] { status = VemraAppStampDeleteStamp(nullptr, 8, "pw"); }),
              text_lines(expected_trace("VemraAppStampDeleteStamp")
                             .verbose("Input `uuid`     : ")
                             .verbose("Input `uuid_size`: 8")
                             .verbose("Input `password` : pw")
                             .error("Bad uuid.")));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fake.calls(), text_lines{});
}

TEST_F(delete_failure, an_unknown_uuid_is_0) {
    const std::string unknown = "unknown!";
    uuid = bytes_of(unknown);
    expect_failure("Unable to find a device by this uuid.");
    EXPECT_EQ(fake.calls(), text_lines{});
}

TEST_F(delete_failure, a_slot_that_cannot_be_read_is_0_and_nothing_changes) {
    fake.fail_function("VemraPKICryptoReadData", 1);
    expect_failure("Unable to get stamp data from 8130, because: " +
                   failure_text("scripted failure(17", 176) + ".");
    EXPECT_EQ(fake.calls(), text_lines(expected_calls().get(8130, 5).message(17)));
    EXPECT_TRUE(is_unchanged());
}

TEST_F(delete_failure, a_mapping_that_cannot_be_written_is_0_and_leaves_the_slot) {
    fake.fail_function("VemraPKICryptoWriteData", 1);
    expect_failure("Unable to delete stamp info from 8127, because: " +
                   failure_text("scripted failure(17", 253) + ".");
    EXPECT_TRUE(is_unchanged());
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .get(8130, 5)
                                           .get(8127, 22)
                                           .set_anew(8127, 22, mapping_record("B&8131"))
                                           .length(8127)
                                           .remove(8127)
                                           .length(8127)
                                           .create(8127, 22)
                                           .write(8127, mapping_record("Seal&8130||B&8131"))
                                           .message(17)));
}

TEST_F(delete_failure, a_slot_that_cannot_be_deleted_is_0_and_keeps_its_bytes_unlisted) {
    fake.fail_function("VemraPKICryptoDeleteData", 2);
    expect_failure("Unable to delete stamp, because: " + failure_text("scripted failure(17", 269) +
                   ".");
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.slot(8127), mapping_record("B&8131"));
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .get(8130, 5)
                                           .get(8127, 22)
                                           .set_anew(8127, 22, mapping_record("B&8131"))
                                           .length(8130)
                                           .remove(8130)
                                           .message(17)));
}

}  // namespace
