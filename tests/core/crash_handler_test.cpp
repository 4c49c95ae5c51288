#include "core/crash_handler.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

#include "support/stream_capture.h"

using vemra::app::stamp::segment_fault_signal_handler;

namespace {

using lines_t = std::vector<std::string>;

lines_t line_of(int signal) {
    return {" [FATAL]    [segment_fault_signal_handler] Segment fault, signal: " +
            std::to_string(signal) + ". (src/core/crash_handler.cpp:N)"};
}

TEST(crash_handler, prints_one_fatal_line_and_returns) {
    for (const int signal : {4, 11, 6}) {
        const stdout_capture captured;
        segment_fault_signal_handler(signal);
        EXPECT_EQ(captured.normalised(), line_of(signal));
    }
}

TEST(crash_handler, returns_to_the_code_that_raised_the_signal) {
    const auto before = std::signal(SIGILL, segment_fault_signal_handler);
    const stdout_capture captured;
    std::raise(SIGILL);
    std::signal(SIGILL, before);
    EXPECT_EQ(captured.normalised(), line_of(4));
}

TEST(crash_handler, stays_installed) {
    const auto before = std::signal(SIGSEGV, segment_fault_signal_handler);
    const stdout_capture captured;
    std::raise(SIGSEGV);
    EXPECT_EQ(std::signal(SIGSEGV, before), &segment_fault_signal_handler);
    EXPECT_EQ(captured.normalised(), line_of(11));
}

}  // namespace
