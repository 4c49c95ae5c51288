#include "base/format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

namespace {

bool memory_fails = false;
std::size_t most_asked_for = 0;

std::string with_list(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
int needed(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

std::string with_list(const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    std::string text = qo::base::format(fmt, arguments);
    va_end(arguments);
    return text;
}

// Asks twice, to show that the arguments stay usable.
int needed(const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int first = qo::base::_get_need_buffer_size(fmt, arguments);
    const int second = qo::base::_get_need_buffer_size(fmt, arguments);
    va_end(arguments);
    return first == second ? first : -2;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
    most_asked_for = std::max(most_asked_for, size);
    return memory_fails ? nullptr : __real_malloc(size);
}
}

namespace {

TEST(format, loses_its_last_character_to_a_nul) {
    EXPECT_EQ(qo::base::format("%d", 42), std::string("4\0", 2));
}

TEST(format, has_the_length_of_the_whole_text) {
    EXPECT_EQ(qo::base::format("%s(%d)", "text", 7), std::string("text(7\0", 7));
}

TEST(format, of_one_character_is_a_single_nul) {
    EXPECT_EQ(qo::base::format("%s", "x"), std::string("\0", 1));
}

TEST(format, of_an_empty_text_is_empty) {
    EXPECT_EQ(qo::base::format("%s", ""), "");
}

TEST(format, formats_a_long_text_whole) {
    const std::string long_text(100000, 'a');
    EXPECT_EQ(qo::base::format("%s!", long_text.c_str()), long_text + '\0');
}

TEST(format, takes_an_argument_list_too) {
    EXPECT_EQ(with_list("%s-%u", "a", 12U), std::string("a-1\0", 4));
}

TEST(format, without_memory_says_so) {
    memory_fails = true;
    const std::string text = qo::base::format("%d", 42);
    memory_fails = false;
    EXPECT_EQ(text, "Unable to allocate memory to format the string.");
}

// No locale is set, and the plain one has no wide character beyond those of ASCII.
TEST(format, of_a_text_that_cannot_be_made_says_so_without_asking_for_its_memory) {
    most_asked_for = 0;
    const std::string text = qo::base::format("%ls", L"\x4e2d");
    EXPECT_EQ(text, "Unable to allocate memory to format the string.");
    EXPECT_LT(most_asked_for, 1000000U);
}

TEST(format, need_is_the_length_without_the_nul) {
    EXPECT_EQ(needed("%s", ""), 0);
    EXPECT_EQ(needed("%d", 42), 2);
    EXPECT_EQ(needed("%s%d%s", "ab", -5, "c"), 5);
    EXPECT_EQ(needed("%ls", L"\x4e2d"), -1);
}

}  // namespace
