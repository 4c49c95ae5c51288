#include "base/hex.h"

#include <gtest/gtest.h>

namespace hex = qo::base::codec::hex;

namespace {

using bytes_t = std::basic_string<unsigned char>;

struct decoding {
    const char* text;
    bytes_t bytes;
};

TEST(hex, encodes_two_lower_case_digits_a_byte) {
    const unsigned char bytes[] = {0x0a, 0xff};
    EXPECT_EQ(hex::encode(bytes, 2, false), "0aff");
}

TEST(hex, encodes_upper_case_digits_on_request) {
    const unsigned char bytes[] = {0x0a, 0xff};
    EXPECT_EQ(hex::encode(bytes, 2, true), "0AFF");
}

TEST(hex, encodes_no_bytes_as_the_empty_text) {
    const unsigned char byte = 0x41;
    EXPECT_EQ(hex::encode(&byte, 0, false), "");
}

TEST(hex, encodes_a_null_pointer_as_the_empty_text_whatever_the_length) {
    EXPECT_EQ(hex::encode(nullptr, 0, false), "");
    EXPECT_EQ(hex::encode(nullptr, 32, true), "");
}

TEST(hex, encodes_every_digit_in_both_halves_of_a_byte) {
    const unsigned char bytes[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef,
                                   0x10, 0x32, 0x54, 0x76, 0x98, 0xba, 0xdc, 0xfe};
    EXPECT_EQ(hex::encode(bytes, sizeof(bytes), false), "0123456789abcdef1032547698badcfe");
    EXPECT_EQ(hex::encode(bytes, sizeof(bytes), true), "0123456789ABCDEF1032547698BADCFE");
}

TEST(hex, encodes_only_the_given_length) {
    EXPECT_EQ(hex::encode("AB\0C", 3, false), "414200");
}

TEST(hex, encodes_a_long_text_like_its_bytes_one_by_one) {
    for (const std::size_t size : {15U, 16U, 17U, 31U, 32U, 33U, 511U, 512U, 513U, 1024U, 2000U}) {
        bytes_t bytes;
        std::string expected;
        for (std::size_t i = 0; i < size; ++i) {
            bytes.push_back(static_cast<unsigned char>(i * 7));
            expected += "0123456789abcdef"[bytes.back() / 16];
            expected += "0123456789abcdef"[bytes.back() % 16];
        }
        EXPECT_EQ(hex::encode(bytes.data(), size, false), expected) << size;
    }
}

TEST(hex, decodes_by_the_digit_rule_and_rejects_nothing) {
    const decoding table[] = {
        {"", {}},
        {"00ff", {0x00, 0xff}},
        {"0aFf", {0x0a, 0xff}},
        {"09", {0x09}},
        {"90", {0x90}},
        {"0A", {0x0a}},
        {"0Z", {35}},
        {"0a", {0x0a}},
        {"0z", {35}},
        {"0G", {0x10}},  // G counts as 16
        {"zz", {0x53}},  // 35 * 16 + 35, modulo 256
        {"ZZ", {0x53}},  //
        {"g0", {0x00}},  // 16 * 16, modulo 256
        {"-1", {0x01}},  // any other character is 0
        {"1 ", {0x10}},  //
        {"/:", {0x00}},  // the neighbours of 0 and 9
        {"@[", {0x00}},  // of A and Z
        {"`{", {0x00}},  // of a and z
        {"\xc3\xa9"
         "12",
         {0x00, 0x12}},
    };
    for (const decoding& row : table) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(hex::decode(std::string(row.text)), row.bytes);
    }
}

TEST(hex, decodes_the_missing_digit_of_an_odd_text_as_zero) {
    EXPECT_EQ(hex::decode(std::string("abc")), (bytes_t{0xab, 0xc0}));
    EXPECT_EQ(hex::decode(std::string("7")), (bytes_t{0x70}));
}

TEST(hex, takes_in_the_byte_behind_an_odd_length) {
    EXPECT_EQ(hex::decode("abcd", 3), (bytes_t{0xab, 0xcd}));
}

TEST(hex, decodes_only_the_given_length) {
    EXPECT_EQ(hex::decode("0102", 2), (bytes_t{0x01}));
}

TEST(hex, decodes_bytes_behind_a_nul_inside_the_text) {
    EXPECT_EQ(hex::decode(std::string("1\0"
                                      "22",
                                      4)),
              (bytes_t{0x10, 0x22}));
}

}  // namespace
