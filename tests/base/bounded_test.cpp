#include "base/bounded.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#pragma GCC diagnostic ignored "-Wformat-nonliteral"

using namespace qo::base;

namespace {

using conditions_t = std::vector<std::string>;

constexpr const char* both_there = "(dest != __null) && (src != __null)";
constexpr const char* source_fits = "dest_size >= src_size";
constexpr const char* text_fits = "dest_size >= (size_t)sprintfed_size";

conditions_t violated;
std::string last_position;
std::string stop_at;
int arrays_released = 0;

void record(const char* condition, const char* file, unsigned int line) {
    violated.emplace_back(condition);
    last_position = std::string(file) + ":" + std::to_string(line);
    // A null pointer would be used next: the test ends the operation here.
    if (stop_at == condition) throw std::runtime_error("stopped");
}

}  // namespace

extern "C" {
void __real__ZdaPv(void* array);
void __wrap__ZdaPv(void* array);
// The array delete.
void __wrap__ZdaPv(void* array) {
    if (array != nullptr) ++arrays_released;
    __real__ZdaPv(array);
}
}

namespace {

class bounded : public testing::Test {
protected:
    void SetUp() override {
        violated.clear();
        last_position.clear();
        stop_at.clear();
        arrays_released = 0;
        set_assert_hook(record);
    }

    char dest_[16] = "###############";
};

int print_list(char* dest, std::size_t dest_size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = __vsprintf_s("caller.cpp", 7, dest, dest_size, format, arguments);
    va_end(arguments);
    return result;
}

TEST_F(bounded, memcpy_copies_what_fits_without_a_word) {
    __memcpy_s("caller.cpp", 7, dest_, sizeof(dest_), "ab\0c", 4);
    EXPECT_EQ(std::string(dest_, 5), std::string("ab\0c#", 5));
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, memcpy_accepts_a_source_of_exactly_the_size) {
    __memcpy_s("caller.cpp", 7, dest_, 3, "abc", 3);
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, memcpy_reports_a_short_destination_and_copies_all_the_same) {
    __memcpy_s("caller.cpp", 7, dest_, 2, "abc", 3);
    EXPECT_EQ(violated, conditions_t{source_fits});
    EXPECT_EQ(std::string(dest_, 4), "abc#");
}

TEST_F(bounded, memcpy_reports_every_violated_condition_in_order) {
    __memcpy_s("caller.cpp", 7, nullptr, 0, "abc", 3);
    EXPECT_EQ(violated, (conditions_t{both_there, source_fits}));
}

TEST_F(bounded, memcpy_copies_nothing_without_a_destination) {
    __memcpy_s("caller.cpp", 7, nullptr, 3, "abc", 3);
    EXPECT_EQ(violated, conditions_t{both_there});
}

TEST_F(bounded, memcpy_copies_nothing_without_a_source) {
    __memcpy_s("caller.cpp", 7, dest_, sizeof(dest_), nullptr, 3);
    EXPECT_EQ(violated, conditions_t{both_there});
    EXPECT_STREQ(dest_, "###############");
}

TEST_F(bounded, the_hook_is_told_the_position_of_the_caller) {
    __memcpy_s("caller.cpp", 77, dest_, 0, "a", 1);
    EXPECT_EQ(last_position, "caller.cpp:77");
}

TEST_F(bounded, the_macro_tells_the_hook_its_own_position) {
    VEMRA_MEMCPY_S(dest_, 0, "a", 1);
    EXPECT_EQ(last_position, "tests/base/bounded_test.cpp:" + std::to_string(__LINE__ - 1));
}

TEST_F(bounded, a_null_hook_is_ignored) {
    set_assert_hook(nullptr);
    __memcpy_s("caller.cpp", 7, dest_, 0, "a", 1);
    EXPECT_EQ(violated, conditions_t{source_fits});
}

TEST_F(bounded, sprintf_prints_and_returns_the_length) {
    EXPECT_EQ(__sprintf_s("caller.cpp", 7, dest_, sizeof(dest_), "%s=%d", "ab", 5), 4);
    EXPECT_STREQ(dest_, "ab=5");
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, sprintf_reports_a_text_longer_than_the_destination_and_cuts_it) {
    EXPECT_EQ(__sprintf_s("caller.cpp", 7, dest_, 4, "%s", "abcdef"), 6);
    EXPECT_STREQ(dest_, "abc");
    EXPECT_EQ(violated, conditions_t{text_fits});
}

TEST_F(bounded, sprintf_does_not_report_a_text_that_loses_only_its_last_character) {
    EXPECT_EQ(__sprintf_s("caller.cpp", 7, dest_, 4, "%s", "abcd"), 4);
    EXPECT_STREQ(dest_, "abc");
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, sprintf_reports_an_empty_text) {
    EXPECT_EQ(__sprintf_s("caller.cpp", 7, dest_, sizeof(dest_), "%s", ""), 0);
    EXPECT_EQ(violated, conditions_t{"sprintfed_size > 0"});
    EXPECT_STREQ(dest_, "");
}

TEST_F(bounded, sprintf_reports_a_null_destination_of_no_size) {
    EXPECT_EQ(__sprintf_s("caller.cpp", 7, nullptr, 0, "%s", "abc"), 3);
    EXPECT_EQ(violated, (conditions_t{"dest != __null", "dest_size > 0", text_fits}));
}

TEST_F(bounded, sprintf_reports_a_negative_result_by_both_size_conditions) {
    const wchar_t not_a_character[] = {static_cast<wchar_t>(0x7fffffff), 0};
    EXPECT_LT(__sprintf_s("caller.cpp", 7, dest_, sizeof(dest_), "%ls", not_a_character), 0);
    EXPECT_EQ(violated, (conditions_t{"sprintfed_size > 0", text_fits}));
}

TEST_F(bounded, sprintf_reports_a_null_format_last_of_its_arguments) {
    stop_at = "format != __null";
    EXPECT_THROW(print_list(nullptr, 0, nullptr), std::runtime_error);
    EXPECT_EQ(violated, (conditions_t{"dest != __null", "dest_size > 0", "format != __null"}));
}

TEST_F(bounded, vsprintf_prints_an_argument_list) {
    EXPECT_EQ(print_list(dest_, sizeof(dest_), "%d-%c", 12, 'x'), 4);
    EXPECT_STREQ(dest_, "12-x");
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, vsprintf_passes_the_position_of_the_caller_on) {
    print_list(dest_, 2, "%s", "abc");
    EXPECT_EQ(last_position, "caller.cpp:7");
}

TEST_F(bounded, sscanf_returns_the_number_of_values_read) {
    int number = 0;
    char word[8] = "";
    EXPECT_EQ(__sscanf_s("caller.cpp", 7, "12 seal", "%d %7s", &number, word), 2);
    EXPECT_EQ(number, 12);
    EXPECT_STREQ(word, "seal");
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, sscanf_returns_eof_for_an_empty_buffer) {
    int number = 5;
    EXPECT_EQ(__sscanf_s("caller.cpp", 7, "", "%d", &number), EOF);
    EXPECT_EQ(number, 5);
}

TEST_F(bounded, sscanf_reports_a_null_buffer_and_then_a_null_format) {
    stop_at = "format != __null";
    const char* no_format = nullptr;
    int number = 0;
    EXPECT_THROW(__sscanf_s("caller.cpp", 7, nullptr, no_format, &number), std::runtime_error);
    EXPECT_EQ(violated, (conditions_t{"buffer != __null", "format != __null"}));
}

TEST_F(bounded, strcpy_copies_the_text_with_its_nul_and_returns_the_bytes) {
    EXPECT_EQ(__strcpy_s("caller.cpp", 7, dest_, 4, "abc"), 4U);
    EXPECT_EQ(std::string(dest_, 5), std::string("abc\0#", 5));
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, strcpy_reports_a_destination_without_room_for_the_nul_and_copies_all_the_same) {
    EXPECT_EQ(__strcpy_s("caller.cpp", 7, dest_, 3, "abc"), 4U);
    EXPECT_EQ(violated, conditions_t{source_fits});
    EXPECT_STREQ(dest_, "abc");
}

TEST_F(bounded, strcpy_reports_a_size_of_zero_by_both_size_conditions) {
    EXPECT_EQ(__strcpy_s("caller.cpp", 7, dest_, 0, ""), 1U);
    EXPECT_EQ(violated, (conditions_t{"dest_size > 0", source_fits}));
}

TEST_F(bounded, sprintf_prints_a_single_character_without_a_word) {
    EXPECT_EQ(__sprintf_s("caller.cpp", 7, dest_, sizeof(dest_), "%c", 'a'), 1);
    EXPECT_STREQ(dest_, "a");
    EXPECT_EQ(violated, conditions_t{});
}

TEST_F(bounded, a_copy_is_reported_before_it_is_made) {
    stop_at = source_fits;
    EXPECT_THROW(__strcpy_s("caller.cpp", 7, dest_, 3, "abc"), std::runtime_error);
    EXPECT_THROW(__memcpy_s("caller.cpp", 7, dest_, 3, "abcd", 4), std::runtime_error);
    EXPECT_STREQ(dest_, "###############");
}

TEST_F(bounded, strcpy_reports_null_pointers_first) {
    stop_at = "dest_size > 0";
    EXPECT_THROW(__strcpy_s("caller.cpp", 7, nullptr, 0, "abc"), std::runtime_error);
    EXPECT_EQ(violated, (conditions_t{both_there, "dest_size > 0"}));
}

TEST_F(bounded, delete_array_releases_an_array_once) {
    _delete_array(new unsigned char[3]);
    EXPECT_EQ(arrays_released, 1);
}

TEST_F(bounded, delete_array_ignores_null) {
    _delete_array(nullptr);
    EXPECT_EQ(arrays_released, 0);
}

// The suite name makes it run before a test replaces the hook.
TEST(default_assert_hook_DeathTest, prints_one_line_without_an_end_to_standard_error_and_returns) {
    char dest[4];
    EXPECT_EXIT(
        {
            __memcpy_s("caller.cpp", 7, dest, 1, "ab", 2);
            std::exit(dest[1] == 'b' ? 0 : 1);
        },
        testing::ExitedWithCode(0),
        testing::Eq("Assertion failed: dest_size >= src_size, at file: \"caller.cpp\", line: 7"));
}

}  // namespace
