#include "vemra_crypto_cpp/exception.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "vemra_crypto.h"
#include "vemra_crypto_cpp/throw_site.h"

using vemra::crypto::exception;
namespace throw_site = vemra::crypto::throw_site;

namespace {

TEST(exception, reads_text_code_file_and_line_without_the_closing_parentheses) {
    const fake_device_library fake;
    const exception error("src/some/file", 42, fake_device_library::bad_handle);
    EXPECT_STREQ(error.what(), "bad handle(11. (at src/some/file:42");
}

TEST(exception, shows_a_negative_code) {
    const fake_device_library fake;
    const exception error("file", 1, -7);
    EXPECT_STREQ(error.what(), "no such slot(-7. (at file:1");
}

TEST(exception, given_a_code_asks_only_for_its_text) {
    const fake_device_library fake;
    const exception error("file", 1, 12);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKIGetErrorMsg(12)"});
}

TEST(exception, without_a_code_takes_the_last_error) {
    fake_device_library fake;
    fake.fail_function("VemraPKICryptoGetPseudoDevice", 1, fault::failing(19));
    VemraPKICryptoGetPseudoDevice();
    fake.clear_calls();
    const exception error("file", 7);
    EXPECT_STREQ(error.what(), "removed(19. (at file:7");
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKIGetLastError()", "VemraPKIGetErrorMsg(19)"}));
}

TEST(exception, error_message_has_a_nul_in_place_of_the_closing_parenthesis) {
    const fake_device_library fake;
    EXPECT_EQ(exception::get_error_message(12), std::string("slot exists(12\0", 15));
}

TEST(exception, last_error_message_is_that_of_the_last_error) {
    fake_device_library fake;
    fake.fail_function("VemraPKICryptoGetPseudoDevice", 1, fault::failing(18));
    VemraPKICryptoGetPseudoDevice();
    EXPECT_EQ(exception::get_last_error_message(), std::string("locked(18\0", 10));
}

TEST(exception, shows_a_code_whose_text_is_null) {
    fake_device_library fake;
    fake.set_error_text(99, std::nullopt);
    EXPECT_STREQ(exception("file", 1, 99).what(), "(null)(99. (at file:1");
}

TEST(exception, is_a_runtime_error_whose_constructors_do_not_throw) {
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, exception>));
    EXPECT_TRUE((std::is_nothrow_constructible_v<exception, const char*, const unsigned long&>));
    EXPECT_TRUE(
        (std::is_nothrow_constructible_v<exception, const char*, const unsigned long&, int>));
}

TEST(exception_DeathTest, ends_the_process_when_its_message_cannot_be_built) {
    fake_device_library fake;
    fake.set_error_text(99, "a text that is too long for a string without an allocation");
    EXPECT_DEATH(
        {
            allocation_faults::fail_throwing(1);
            const exception error("file", 1, 99);
        },
        "terminate called after throwing an instance of 'std::bad_alloc'");
}

TEST(exception_DeathTest, ends_the_process_when_the_device_library_throws_instead_of_a_text) {
    fake_device_library fake;
    EXPECT_DEATH(
        {
            fake.fail_function("VemraPKIGetErrorMsg", 1, fault::throwing_runtime_error());
            const exception error("file", 1, 11);
        },
        "thrown by the device library");
}

TEST(throw_site, labels_never_change) {
    EXPECT_STREQ(throw_site::device_file, "src/vemra_crypto_cpp/device");
    EXPECT_EQ(throw_site::get_type, 79U);
    EXPECT_EQ(throw_site::get_data_length, 147U);
    EXPECT_EQ(throw_site::get_data, 176U);
    EXPECT_EQ(throw_site::restore_create, 200U);
    EXPECT_EQ(throw_site::restore_write, 210U);
    EXPECT_EQ(throw_site::set_create, 241U);
    EXPECT_EQ(throw_site::set_write, 253U);
    EXPECT_EQ(throw_site::delete_data, 269U);
}

}  // namespace
