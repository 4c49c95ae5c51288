#include "core/call_stack_tracer.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "support/allocation_faults.h"
#include "support/stream_capture.h"

using vemra::app::stamp::call_stack_tracer;

namespace {

using lines_t = std::vector<std::string>;

TEST(call_stack_tracer, prints_an_entry_line_and_an_exit_line) {
    const stdout_capture captured;
    { const call_stack_tracer tracer("VemraAppStampGetVersion"); }
    EXPECT_EQ(captured.text(),
              " [VERBOSE]  [VemraAppStampGetVersion] >>>> VemraAppStampGetVersion\n"
              " [VERBOSE]  [VemraAppStampGetVersion] <<<< VemraAppStampGetVersion\n");
}

TEST(call_stack_tracer, prints_the_entry_line_at_once) {
    const stdout_capture captured;
    const call_stack_tracer tracer("f");
    EXPECT_EQ(captured.text(), " [VERBOSE]  [f] >>>> f\n");
}

TEST(call_stack_tracer, nests_without_a_sign_of_depth) {
    const stdout_capture captured;
    {
        const call_stack_tracer outer("outer");
        const call_stack_tracer inner("inner");
    }
    EXPECT_EQ(captured.lines(),
              (lines_t{" [VERBOSE]  [outer] >>>> outer", " [VERBOSE]  [inner] >>>> inner",
                       " [VERBOSE]  [inner] <<<< inner", " [VERBOSE]  [outer] <<<< outer"}));
}

TEST(call_stack_tracer, prints_the_exit_line_when_an_exception_leaves) {
    const stdout_capture captured;
    try {
        const call_stack_tracer tracer("f");
        throw std::runtime_error("leaves");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(captured.lines(), (lines_t{" [VERBOSE]  [f] >>>> f", " [VERBOSE]  [f] <<<< f"}));
}

// A view would keep a length as well, and need not end in a NUL.
TEST(call_stack_tracer, keeps_the_pointer_to_its_name_and_nothing_else) {
    char name[] = "f\0g";
    const stdout_capture captured;
    {
        const call_stack_tracer tracer(name);
        name[1] = '_';
    }
    EXPECT_EQ(captured.lines(), (lines_t{" [VERBOSE]  [f] >>>> f", " [VERBOSE]  [f_g] <<<< f_g"}));
}

// A copy would print a second exit line.
TEST(call_stack_tracer, cannot_be_copied) {
    EXPECT_FALSE(std::is_copy_constructible_v<call_stack_tracer>);
    EXPECT_FALSE(std::is_copy_assignable_v<call_stack_tracer>);
}

TEST(call_stack_tracer, throws_when_the_entry_line_cannot_be_built) {
    const stdout_capture captured;
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(call_stack_tracer("f"), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(captured.text(), "");
}

TEST(call_stack_tracer_DeathTest, ends_the_process_when_the_exit_line_cannot_be_built) {
    EXPECT_DEATH(
        {
            const call_stack_tracer tracer("f");
            allocation_faults::fail_throwing(1);
        },
        "terminate called after throwing an instance of 'std::bad_alloc'");
}

}  // namespace
