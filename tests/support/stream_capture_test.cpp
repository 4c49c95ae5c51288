#include "support/stream_capture.h"

#include <gtest/gtest.h>

namespace {

using lines = std::vector<std::string>;

TEST(stream_capture, sees_all_that_is_written_while_it_lives) {
    const stdout_capture captured;
    std::printf("one\ntwo\n");
    EXPECT_EQ(captured.text(), "one\ntwo\n");
    std::printf("three");
    EXPECT_EQ(captured.lines(), (lines{"one", "two", "three"}));
}

TEST(stream_capture, can_be_nested_and_cleared) {
    stdout_capture outer;
    std::printf("before\n");
    outer.clear();
    {
        const stdout_capture inner;
        std::printf("inside\n");
        EXPECT_EQ(inner.text(), "inside\n");
    }
    std::printf("after\n");
    EXPECT_EQ(outer.text(), "after\n");
}

TEST(stream_capture, normalises_addresses_and_source_lines) {
    const stdout_capture captured;
    std::printf(" [ERROR]    [f] at 0x7ffe12 and (nil) (src/core/log.cpp:12)\n [DEBUG]    [f] x\n");
    EXPECT_EQ(captured.error_lines(),
              lines{" [ERROR]    [f] at PTR and (nil) (src/core/log.cpp:N)"});
    EXPECT_EQ(captured.normalised().size(), 2u);
}

TEST(stream_capture, sees_standard_error_apart_from_standard_output) {
    const stderr_capture errors;
    const stdout_capture output;
    std::fprintf(stderr, "error");
    std::printf("output");
    EXPECT_EQ(errors.text(), "error");
    EXPECT_EQ(output.text(), "output");
}

}  // namespace
