#include "core/log.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>

#include "core/environment.h"
#include "support/allocation_faults.h"
#include "support/stream_capture.h"

using vemra::app::stamp::environment;

namespace {

void speak_verbose() {
    VEMRA_LOG_VERBOSE("Input `count` : %d", 3);
}

void speak_debug() {
    VEMRA_LOG_DEBUG("No image stamp in device: %s.", "SN-1");
}

int speak_error() {
    VEMRA_LOG_ERROR("Unable to get stamp info from 8127, because: %s.", "reason");
    return __LINE__ - 1;
}

int speak_fatal() {
    VEMRA_LOG_FATAL("Segment fault, signal: %d.", 11);
    return __LINE__ - 1;
}

std::string at(int line) {
    return " (tests/core/log_test.cpp:" + std::to_string(line) + ")\n";
}

void speak_all() {
    speak_verbose();
    speak_debug();
    speak_error();
    speak_fatal();
}

TEST(log, verbose_line_ends_after_its_message) {
    const stdout_capture captured;
    speak_verbose();
    EXPECT_EQ(captured.text(), " [VERBOSE]  [speak_verbose] Input `count` : 3\n");
}

TEST(log, debug_line_ends_after_its_message) {
    const stdout_capture captured;
    speak_debug();
    EXPECT_EQ(captured.text(), " [DEBUG]    [speak_debug] No image stamp in device: SN-1.\n");
}

TEST(log, error_line_ends_in_its_source_position) {
    const stdout_capture captured;
    const int line = speak_error();
    EXPECT_EQ(captured.text(),
              " [ERROR]    [speak_error] Unable to get stamp info from 8127, because: reason." +
                  at(line));
}

TEST(log, fatal_line_ends_in_its_source_position) {
    const stdout_capture captured;
    const int line = speak_fatal();
    EXPECT_EQ(captured.text(), " [FATAL]    [speak_fatal] Segment fault, signal: 11." + at(line));
}

TEST(log, every_prefix_has_eleven_characters) {
    const stdout_capture captured;
    speak_all();
    ASSERT_EQ(captured.lines().size(), 4U);
    for (const std::string& line : captured.lines()) {
        EXPECT_EQ(line.substr(11, 7), " [speak") << line;
    }
}

TEST(log, lines_without_arguments_are_printed_as_they_are) {
    const stdout_capture captured;
    VEMRA_LOG_DEBUG("Free stamp data.");
    VEMRA_LOG_ERROR("Unable to new a hash handle.");
    const int line = __LINE__ - 1;
    EXPECT_EQ(captured.text(),
              " [DEBUG]    [TestBody] Free stamp data.\n"
              " [ERROR]    [TestBody] Unable to new a hash handle." +
                  at(line));
}

TEST(log, lines_of_a_shared_step_name_the_given_function) {
    const stdout_capture captured;
    VEMRA_LOG_VERBOSE_AS("VemraAppStampAppendStamp", "one %d", 1);
    VEMRA_LOG_DEBUG_AS("VemraAppStampAppendStamp", "two %d", 2);
    VEMRA_LOG_ERROR_AS("VemraAppStampAppendStamp", "three %d", 3);
    const int line = __LINE__ - 1;
    EXPECT_EQ(captured.text(),
              " [VERBOSE]  [VemraAppStampAppendStamp] one 1\n"
              " [DEBUG]    [VemraAppStampAppendStamp] two 2\n"
              " [ERROR]    [VemraAppStampAppendStamp] three 3" +
                  at(line));
}

TEST(log, arguments_may_contain_percent_signs) {
    const stdout_capture captured;
    VEMRA_LOG_VERBOSE("Name: %s", "100 %s %n");
    EXPECT_EQ(captured.text(), " [VERBOSE]  [TestBody] Name: 100 %s %n\n");
}

TEST(log, lines_of_any_length_are_whole) {
    const std::string bytes(100000, 'a');
    const stdout_capture captured;
    VEMRA_LOG_VERBOSE("%s", bytes.c_str());
    EXPECT_EQ(captured.text(), " [VERBOSE]  [TestBody] " + bytes + "\n");
}

TEST(log, heeds_neither_level_nor_directory_of_the_environment) {
    const stdout_capture captured;
    speak_all();
    const auto before = captured.normalised();
    environment::instance().set_log_level(5);
    environment::instance().set_log_directory(qo::base::path("/elsewhere/logs"));
    speak_all();
    auto twice = before;
    twice.insert(twice.end(), before.begin(), before.end());
    EXPECT_EQ(captured.normalised(), twice);
}

TEST(log, lines_of_two_threads_stay_whole) {
    const stdout_capture captured;
    const auto speak_often = [] {
        for (int i = 0; i < 500; ++i)
            speak_verbose();
    };
    std::thread other(speak_often);
    speak_often();
    other.join();
    const auto lines = captured.lines();
    EXPECT_EQ(lines.size(), 1000U);
    for (const std::string& line : lines) {
        ASSERT_EQ(line, " [VERBOSE]  [speak_verbose] Input `count` : 3");
    }
}

TEST(log, line_that_cannot_be_built_throws_and_prints_nothing) {
    const stdout_capture captured;
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(speak_error(), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(captured.text(), "");
}

}  // namespace
