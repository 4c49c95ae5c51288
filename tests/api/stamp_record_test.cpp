#include "api/api_test.h"

namespace {

class stamp_record : public api_test {
protected:
    std::string name = "Seal";
    std::string data = "hello";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    unsigned char byte_mark = 0;
    unsigned char* bytes = &byte_mark;
    unsigned long long bytes_size = 99;
    char text_mark = 0;
    char* text = &text_mark;
    unsigned int text_size = 99;
};

using stamp_type = stamp_record;

TEST_F(stamp_type, is_told_as_stored_and_traced) {
    for (const int stored : {1, 0, -1, 42}) {
        record.type = stored;
        int type = 99;
        int status = 0;
        EXPECT_EQ(trace([&] { status = VemraAppStampGetStampType(&record, &type); }),
                  text_lines(expected_trace("VemraAppStampGetStampType")
                                 .verbose("Input `handle`: PTR")
                                 .verbose("Input `type`  : PTR")));
        EXPECT_EQ(status, 1);
        EXPECT_EQ(type, stored);
    }
}

TEST_F(stamp_type, without_record_is_minus_1_and_writes_nothing) {
    int type = 99;
    int status = 0;
    EXPECT_EQ(trace([&] { status = VemraAppStampGetStampType(nullptr, &type); }),
              text_lines(expected_trace("VemraAppStampGetStampType")
                             .verbose("Input `handle`: (nil)")
                             .verbose("Input `type`  : PTR")));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
    EXPECT_EQ(type, 99);
}

TEST_F(stamp_type, without_output_is_minus_2_after_the_record_is_tested) {
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampGetStampType(&record, nullptr), -2);
    EXPECT_EQ(last_status(), -2);
    EXPECT_EQ(VemraAppStampGetStampType(nullptr, nullptr), -1);
}

class stamp_data : public stamp_record {
protected:
    static expected_trace inputs() {
        expected_trace lines("VemraAppStampGetStampData");
        lines.verbose("Input `handle`      : PTR");
        lines.verbose("Input `output_bytes`: PTR");
        lines.verbose("Input `output_size` : PTR");
        return lines;
    }
    text_lines traced() {
        return trace([this] { status = VemraAppStampGetStampData(&record, &bytes, &bytes_size); });
    }
    int status = -99;
};

TEST_F(stamp_data, is_copied_and_traced_in_hexadecimal) {
    data = std::string("\x00\x7f\x80\xff", 4);
    record = image_record(name, data);
    EXPECT_EQ(traced(),
              text_lines(
                  inputs().verbose("Size of stamp: 4 bytes.").verbose("Data of stamp: 007f80ff.")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
    EXPECT_EQ(bytes_size, 4u);
    EXPECT_NE(bytes, record.data);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), 4), data);
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampFreeMemory(bytes), 1);
}

TEST_F(stamp_data, of_several_mebibytes_is_copied_whole) {
    data.assign(3u << 20, '\x5a');
    data.back() = '\x01';
    record = image_record(name, data);
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampGetStampData(&record, &bytes, &bytes_size), 1);
    ASSERT_EQ(bytes_size, data.size());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), bytes_size), data);
    EXPECT_GT(captured.text().size(), 2 * data.size());
    VemraAppStampFreeMemory(bytes);
}

TEST_F(stamp_data, of_length_0_leaves_the_buffer_and_tells_0) {
    record.data_length = 0;
    EXPECT_EQ(traced(),
              text_lines(inputs().verbose("Size of stamp: 0 bytes.").verbose("Data of stamp: .")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(bytes_size, 0u);
    EXPECT_EQ(bytes, &byte_mark);
}

TEST_F(stamp_data, that_is_null_leaves_the_buffer_and_tells_its_length) {
    record.data = nullptr;
    EXPECT_EQ(traced(),
              text_lines(inputs().verbose("Size of stamp: 5 bytes.").verbose("Data of stamp: .")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(bytes_size, 5u);
    EXPECT_EQ(bytes, &byte_mark);
}

TEST_F(stamp_data, without_record_is_minus_1_and_writes_nothing) {
    EXPECT_EQ(trace([this] { status = VemraAppStampGetStampData(nullptr, &bytes, &bytes_size); }),
              text_lines(expected_trace("VemraAppStampGetStampData")
                             .verbose("Input `handle`      : (nil)")
                             .verbose("Input `output_bytes`: PTR")
                             .verbose("Input `output_size` : PTR")));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
    EXPECT_EQ(bytes, &byte_mark);
    EXPECT_EQ(bytes_size, 99u);
}

TEST_F(stamp_data, without_an_output_is_minus_2_after_the_record_is_tested) {
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampGetStampData(&record, nullptr, &bytes_size), -2);
    EXPECT_EQ(VemraAppStampGetStampData(&record, &bytes, nullptr), -2);
    EXPECT_EQ(last_status(), -2);
    EXPECT_EQ(VemraAppStampGetStampData(nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(bytes, &byte_mark);
    EXPECT_EQ(bytes_size, 99u);
    EXPECT_EQ(captured.text().find("Size of stamp"), std::string::npos);
}

TEST_F(stamp_data, without_memory_is_1_with_a_null_buffer_and_the_hook_line) {
    const stderr_capture errors;
    const stdout_capture unseen;
    allocation_faults::fail_nothrow(1);
    status = VemraAppStampGetStampData(&record, &bytes, &bytes_size);
    EXPECT_TRUE(allocation_faults::fired());
    allocation_faults::stop();
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(bytes_size, 5u);
    const std::string line = errors.text();
    const std::string start =
        "Assertion failed: (dest != __null) && (src != __null), at file: "
        "\"src/core/VEMRA_APP_STAMP.cpp\", line: ";
    ASSERT_EQ(line.substr(0, start.size()), start);
    EXPECT_GT(line.size(), start.size());
    EXPECT_EQ(line.find_first_not_of("0123456789", start.size()), std::string::npos);
}

class stamp_name : public stamp_record {
protected:
    static expected_trace inputs() {
        expected_trace lines("VemraAppStampGetStampName");
        lines.verbose("Input `handle`       : PTR");
        lines.verbose("Input `output_string`: PTR");
        lines.verbose("Input `output_size`  : PTR");
        return lines;
    }
    text_lines traced() {
        return trace([this] { status = VemraAppStampGetStampName(&record, &text, &text_size); });
    }
    int status = -99;
};

TEST_F(stamp_name, is_copied_with_a_terminator_and_traced) {
    EXPECT_EQ(
        traced(),
        text_lines(inputs().verbose("Length of stamp name: 4.").verbose("Name of stamp: Seal.")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
    EXPECT_EQ(text_size, 4u);
    EXPECT_NE(text, record.name);
    EXPECT_STREQ(text, "Seal");
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampFreeMemory(text), 1);
}

TEST_F(stamp_name, needs_no_terminator) {
    char unterminated[] = {'a', 'b'};
    record.name = unterminated;
    record.name_length = 2;
    EXPECT_EQ(traced()[5], " [VERBOSE]  [VemraAppStampGetStampName] Name of stamp: ab.");
    EXPECT_STREQ(text, "ab");
    const stdout_capture unseen;
    VemraAppStampFreeMemory(text);
}

TEST_F(stamp_name, of_length_0_leaves_the_buffer_and_tells_0) {
    record.name_length = 0;
    EXPECT_EQ(traced(),
              text_lines(inputs().verbose("Length of stamp name: 0.").verbose("Name of stamp: .")));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(text_size, 0u);
    EXPECT_EQ(text, &text_mark);
}

TEST_F(stamp_name, that_is_null_leaves_the_buffer_and_tells_its_length) {
    record.name = nullptr;
    EXPECT_EQ(traced()[4], " [VERBOSE]  [VemraAppStampGetStampName] Length of stamp name: 4.");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(text_size, 4u);
    EXPECT_EQ(text, &text_mark);
}

TEST_F(stamp_name, without_record_is_minus_1_and_writes_nothing) {
    EXPECT_EQ(trace([this] { status = VemraAppStampGetStampName(nullptr, &text, &text_size); }),
              text_lines(expected_trace("VemraAppStampGetStampName")
                             .verbose("Input `handle`       : (nil)")
                             .verbose("Input `output_string`: PTR")
                             .verbose("Input `output_size`  : PTR")));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
    EXPECT_EQ(text, &text_mark);
    EXPECT_EQ(text_size, 99u);
}

TEST_F(stamp_name, without_an_output_is_minus_2_after_the_record_is_tested) {
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampGetStampName(&record, nullptr, &text_size), -2);
    EXPECT_EQ(VemraAppStampGetStampName(&record, &text, nullptr), -2);
    EXPECT_EQ(last_status(), -2);
    EXPECT_EQ(VemraAppStampGetStampName(nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(text, &text_mark);
    EXPECT_EQ(text_size, 99u);
    EXPECT_EQ(captured.text().find("Name of stamp"), std::string::npos);
}

TEST_F(stamp_name, without_memory_is_minus_3_with_a_null_buffer) {
    const stderr_capture errors;
    const stdout_capture unseen;
    allocation_faults::fail_nothrow(1);
    status = VemraAppStampGetStampName(&record, &text, &text_size);
    EXPECT_TRUE(allocation_faults::fired());
    allocation_faults::stop();
    EXPECT_EQ(status, -3);
    EXPECT_EQ(last_status(), -3);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(text_size, 99u);
    EXPECT_EQ(errors.text(), "");
}

class free_stamp : public stamp_record {
protected:
    /** Takes the one stamp of the one device, without its uuid. */
    VEMRA_APP_STAMP_RECORD* take() {
        const stdout_capture unseen;
        const listed_stamps all;
        unsigned char* uuid = nullptr;
        unsigned int size = 0;
        VEMRA_APP_STAMP_RECORD* taken = nullptr;
        VemraAppStampGetStamp(all.set, 0, &uuid, &size, &taken);
        VemraAppStampFreeMemory(uuid);
        return taken;
    }
    static void free_name(char* name) {
        const stdout_capture unseen;
        VemraAppStampFreeMemory(name);
    }
};

TEST_F(free_stamp, of_null_is_minus_1) {
    int status = 0;
    EXPECT_EQ(
        trace([&] { status = VemraAppStampFreeStamp(nullptr); }),
        text_lines(expected_trace("VemraAppStampFreeStamp").verbose("Input `handle`: (nil)")));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
}

TEST_F(free_stamp, keeps_the_name_buffer) {
    add_device_with("Seal&8130");
    VEMRA_APP_STAMP_RECORD* taken = take();
    char* kept_name = taken->name;
    const stdout_capture unseen;
    const long before = allocation_faults::live_blocks();
    VemraAppStampFreeStamp(taken);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(after, before - 3);  // Record, owner and data.
    EXPECT_STREQ(kept_name, "Seal");
    VemraAppStampFreeMemory(kept_name);
}

}  // namespace
