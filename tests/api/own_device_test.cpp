#include <cstddef>
#include <cstring>
#include <memory>

#include "api/api_test.h"

namespace {

class own_device : public api_test {
protected:
    void SetUp() override { add_device_with("Seal&8130"); }

    /** Takes the stamp and asks for its device. */
    text_lines traced() {
        const stdout_capture unseen;
        const listed_stamps all;
        const taken_stamp stamp(all.set, 0);
        arrange();
        fake.clear_calls();
        const text_lines lines = trace([&] {
            status = VemraAppStampGetStampOwnDevice(stamp.record, &serial, &length, &type);
        });
        last_status = VemraAppStampGetLastError();
        calls = fake.calls();
        if (serial != nullptr && serial != &mark) {
            copy = serial;
            VemraAppStampFreeMemory(serial);
        }
        return lines;
    }
    bool outputs_are_untouched() const { return serial == &mark && length == 99 && type == -99; }

    static expected_trace inputs(const std::string& handle = "PTR") {
        expected_trace lines("VemraAppStampGetStampOwnDevice");
        lines.verbose("Input `handle`                 : " + handle);
        lines.verbose("Input `output_device_sn`       : PTR");
        lines.verbose("Input `output_device_sn_length`: PTR");
        lines.verbose("Input `output_device_type`     : PTR");
        return lines;
    }

    /** What happens between the listing and the question. */
    std::function<void()> arrange = [] {};
    char mark = 0;
    char* serial = &mark;
    unsigned int length = 99;
    int type = -99;
    std::string copy;
    int status = -99;
    int last_status = -99;
    text_lines calls;
};

TEST_F(own_device, answers_what_the_device_says_now) {
    arrange = [this] {
        fake.answer_type(8);
        fake.answer_serial(1, std::string("renamed"));
    };
    traced();
    EXPECT_EQ(copy, "renamed");
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(type, 8);
}

TEST_F(own_device, with_an_empty_serial_gives_a_null_copy_and_length_0) {
    arrange = [this] { fake.answer_serial(1, std::string()); };
    EXPECT_EQ(traced(), text_lines(inputs()));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(serial, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(type, 3);
}

TEST_F(own_device, whose_serial_cannot_be_read_gives_a_null_copy_and_status_1) {
    arrange = [this] { fake.fail_function("VemraPKICryptoGetSerialNumber", 1); };
    traced();
    EXPECT_EQ(status, 1);
    EXPECT_EQ(serial, nullptr);
    EXPECT_EQ(length, 0u);
}

TEST_F(own_device, without_memory_for_the_copy_is_1_with_the_true_length) {
    arrange = [] { allocation_faults::fail_nothrow(1); };
    EXPECT_EQ(traced(), text_lines(inputs()));
    EXPECT_TRUE(allocation_faults::fired());
    allocation_faults::stop();
    EXPECT_EQ(status, 1);
    EXPECT_EQ(serial, nullptr);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(type, 3);
}

TEST_F(own_device, of_a_zeroed_record_is_minus_1_with_its_line) {
    VEMRA_APP_STAMP_RECORD zeroed;
    std::memset(&zeroed, 0, sizeof(zeroed));
    EXPECT_EQ(
        trace([&] { status = VemraAppStampGetStampOwnDevice(&zeroed, &serial, &length, &type); }),
        text_lines(inputs().error("No own device.")));
    EXPECT_EQ(status, -1);
    EXPECT_TRUE(outputs_are_untouched());
    EXPECT_EQ(fake.calls(), text_lines{});
}

TEST_F(own_device, is_read_at_offset_40_of_48_bytes_and_never_beyond) {
    static_assert(offsetof(VEMRA_APP_STAMP_RECORD, own_device) == 40, "the last field");
    static_assert(sizeof(VEMRA_APP_STAMP_RECORD) == 48, "nothing behind it");
    // A heap block of its own, so that a read beyond it is seen by a sanitizer.
    const std::unique_ptr<unsigned char[]> block(new unsigned char[48]());
    const auto* record = reinterpret_cast<const VEMRA_APP_STAMP_RECORD*>(block.get());
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampGetStampOwnDevice(record, &serial, &length, &type), -1);
}

TEST_F(own_device, without_record_is_minus_1_even_without_outputs) {
    EXPECT_EQ(
        trace([&] { status = VemraAppStampGetStampOwnDevice(nullptr, &serial, &length, &type); }),
        text_lines(inputs("(nil)")));
    EXPECT_EQ(status, -1);
    EXPECT_TRUE(outputs_are_untouched());
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampGetStampOwnDevice(nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(VemraAppStampGetLastError(), -1);
}

TEST_F(own_device, without_an_output_is_minus_2_before_the_device_is_looked_at) {
    VEMRA_APP_STAMP_RECORD zeroed;
    std::memset(&zeroed, 0, sizeof(zeroed));
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampGetStampOwnDevice(&zeroed, nullptr, &length, &type), -2);
    EXPECT_EQ(VemraAppStampGetStampOwnDevice(&zeroed, &serial, nullptr, &type), -2);
    EXPECT_EQ(VemraAppStampGetStampOwnDevice(&zeroed, &serial, &length, nullptr), -2);
    EXPECT_EQ(VemraAppStampGetLastError(), -2);
    EXPECT_TRUE(outputs_are_untouched());
    EXPECT_EQ(captured.error_lines(), text_lines{});
}

}  // namespace
