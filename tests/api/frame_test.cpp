#include <new>
#include <thread>

#include "api/api_test.h"

namespace {

class frame : public api_test {
protected:
    /** A call that fails with -2. */
    static void fail_with_invalid_argument() { VemraAppStampFreeMemory(nullptr); }
};

struct message_row {
    int code;
    const char* text;
};

const message_row messages[] = {
    {1, "成功"},
    {0, "失败"},
    {-1, "无效句柄"},
    {-2, "入参无效"},
    {-3, "内存不足"},
    {-4, "不支持的印章类型"},
    {-5, "超出范围"},
    {-6, "签章环境未初始化"},
    {-7, "未知错误"},
    {2, "未知错误"},
    {-8, "未知错误"},
    {2147483647, "未知错误"},
    {-2147483647 - 1, "未知错误"},
};

TEST_F(frame, the_library_reaches_the_fake_device_library) {
    const stdout_capture unseen;
    VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
    EXPECT_EQ(fake.calls(), text_lines{"VemraPKICryptoGetAllDevices(-1, 0)"});
}

TEST_F(frame, replaced_operator_new_serves_the_library) {
    const stdout_capture unseen;
    const long before = allocation_faults::live_blocks();
    fake.add_device("SN-1");
    const VEMRA_APP_STAMP_SET_HANDLE set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
    const long with_set = allocation_faults::live_blocks();
    VemraAppStampFreeStamps(set);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(with_set, before + 1);
    EXPECT_EQ(after, before);
}

TEST_F(frame, version_is_1_0_0_0_and_only_the_call_is_traced) {
    const char* version = nullptr;
    const text_lines lines = trace([&] { version = VemraAppStampGetVersion(); });
    EXPECT_STREQ(version, "1.0.0.0");
    EXPECT_EQ(lines, text_lines(expected_trace("VemraAppStampGetVersion")));
}

TEST_F(frame, version_leaves_the_last_status) {
    const stdout_capture unseen;
    fail_with_invalid_argument();
    VemraAppStampGetVersion();
    EXPECT_EQ(last_status(), -2);
}

TEST_F(frame, last_status_is_traced_without_inputs) {
    EXPECT_EQ(trace([] { VemraAppStampGetLastError(); }),
              text_lines(expected_trace("VemraAppStampGetLastError")));
}

TEST_F(frame, last_status_can_be_read_twice) {
    const stdout_capture unseen;
    fail_with_invalid_argument();
    EXPECT_EQ(VemraAppStampGetLastError(), -2);
    EXPECT_EQ(VemraAppStampGetLastError(), -2);
}

TEST_F(frame, last_status_is_1_in_a_fresh_thread) {
    int status = 0;
    fail_with_invalid_argument();
    std::thread([&status] { status = last_status(); }).join();
    EXPECT_EQ(status, 1);
}

TEST_F(frame, a_failure_in_one_thread_is_not_seen_in_another) {
    int status = 0;
    std::thread other([&status] {
        fail_with_invalid_argument();
        status = last_status();
    });
    other.join();
    EXPECT_EQ(status, -2);
    EXPECT_EQ(last_status(), 1);
}

TEST_F(frame, every_code_has_its_message) {
    const stdout_capture unseen;
    for (const message_row& row : messages) {
        EXPECT_STREQ(VemraAppStampGetErrorMessage(row.code), row.text) << row.code;
    }
}

TEST_F(frame, messages_leave_the_last_status) {
    const stdout_capture unseen;
    fail_with_invalid_argument();
    for (const message_row& row : messages) {
        VemraAppStampGetErrorMessage(row.code);
        EXPECT_EQ(VemraAppStampGetLastError(), -2) << row.code;
    }
}

TEST_F(frame, messages_are_static) {
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampGetErrorMessage(0), VemraAppStampGetErrorMessage(0));
}

TEST_F(frame, message_call_traces_its_code) {
    EXPECT_EQ(
        trace([] { VemraAppStampGetErrorMessage(-6); }),
        text_lines(expected_trace("VemraAppStampGetErrorMessage").verbose("Input `errcode`: -6")));
}

TEST_F(frame, freeing_null_memory_is_minus_2) {
    int status = 0;
    const text_lines lines = trace([&] { status = VemraAppStampFreeMemory(nullptr); });
    EXPECT_EQ(status, -2);
    EXPECT_EQ(last_status(), -2);
    EXPECT_EQ(lines,
              text_lines(expected_trace("VemraAppStampFreeMemory").verbose("Input `mem`: (nil)")));
}

TEST_F(frame, freeing_a_buffer_is_1_and_releases_it) {
    const stdout_capture captured;
    std::string name = "Seal";
    std::string data = "hello";
    const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const long before = allocation_faults::live_blocks();
    char* copy = nullptr;
    unsigned int size = 0;
    VemraAppStampGetStampName(&record, &copy, &size);
    const long with_copy = allocation_faults::live_blocks();
    fail_with_invalid_argument();
    const int status = VemraAppStampFreeMemory(copy);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(with_copy, before + 1);
    EXPECT_EQ(after, before);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(last_status(), 1);
    const text_lines lines = captured.normalised();
    EXPECT_EQ(lines[lines.size() - 2], " [VERBOSE]  [VemraAppStampFreeMemory] Input `mem`: PTR");
}

TEST_F(frame, entry_line_without_memory_throws_and_prints_nothing) {
    const stdout_capture captured;
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(VemraAppStampGetVersion(), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(captured.text(), "");
}

TEST_F(frame, exit_line_is_printed_when_an_exception_leaves) {
    const stdout_capture captured;
    allocation_faults::fail_throwing(2);
    EXPECT_THROW(VemraAppStampGetErrorMessage(0), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(captured.normalised(), text_lines(expected_trace("VemraAppStampGetErrorMessage")));
}

TEST(frame_death, exit_line_without_memory_ends_the_process) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            allocation_faults::fail_throwing(2);
            VemraAppStampGetVersion();
        },
        "");
}

TEST_F(frame, lines_of_threads_stay_whole) {
    const stdout_capture captured;
    const auto work = [] {
        for (int i = 0; i < 50; ++i)
            VemraAppStampGetErrorMessage(7);
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    const text_lines whole =
        expected_trace("VemraAppStampGetErrorMessage").verbose("Input `errcode`: 7");
    const text_lines lines = captured.lines();
    EXPECT_EQ(lines.size(), 300u);
    for (const std::string& line : lines) {
        EXPECT_NE(std::find(whole.begin(), whole.end(), line), whole.end()) << line;
    }
}

}  // namespace
