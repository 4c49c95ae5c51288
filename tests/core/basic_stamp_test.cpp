#include "core/basic_stamp.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "core/image_stamp.h"

using vemra::app::stamp::basic_stamp;
using vemra::app::stamp::image_stamp;

namespace {

using bytes_t = std::basic_string<unsigned char>;

const bytes_t some_uuid = {0x00, 0xff, 0x10};

// A stamp of a type of its own that shows what a basic_stamp keeps.
class open_stamp : public basic_stamp {
public:
    explicit open_stamp(int type) : basic_stamp(type_t(type), sealed, some_uuid) {}
    bytes_t encode(format_t) const override { return data_; }
    const unsigned char* own_bytes() const { return data_.data(); }
    format_t format() const { return format_; }
};

TEST(basic_stamp, types_and_formats_keep_their_numbers) {
    EXPECT_EQ(static_cast<int>(basic_stamp::reserved), 1);
    EXPECT_EQ(static_cast<int>(basic_stamp::image), 2);
    EXPECT_EQ(static_cast<int>(basic_stamp::plain), 0);
    EXPECT_EQ(static_cast<int>(basic_stamp::sealed), 1);
}

TEST(basic_stamp, starts_with_its_uuid_and_without_name_and_bytes) {
    const open_stamp stamp(7);
    EXPECT_EQ(stamp.get_type(), basic_stamp::type_t(7));
    EXPECT_EQ(stamp.format(), basic_stamp::sealed);
    EXPECT_EQ(stamp.get_uuid(), some_uuid);
    EXPECT_EQ(stamp.get_name(), "");
    EXPECT_TRUE(stamp.encode(basic_stamp::plain).empty());
}

TEST(basic_stamp, set_data_replaces_the_bytes) {
    open_stamp stamp(2);
    stamp.set_data("first bytes", 11);
    stamp.set_data("a\0b", 3);
    EXPECT_EQ(stamp.encode(basic_stamp::plain), (bytes_t{'a', 0, 'b'}));
}

TEST(basic_stamp, set_data_takes_a_byte_string_too) {
    open_stamp stamp(2);
    const bytes_t bytes = {0x89, 'P', 'N', 'G', 0};
    stamp.set_data(bytes);
    EXPECT_EQ(stamp.encode(basic_stamp::plain), bytes);
}

TEST(basic_stamp, set_data_of_no_bytes_empties_it) {
    open_stamp stamp(2);
    stamp.set_data("abc", 3);
    stamp.set_data(bytes_t());
    EXPECT_TRUE(stamp.encode(basic_stamp::plain).empty());
}

TEST(basic_stamp, set_data_may_take_a_part_of_its_own_bytes) {
    open_stamp stamp(2);
    stamp.set_data("0123456789 a text that does not fit into a string object", 56);
    stamp.set_data(stamp.own_bytes() + 2, 5);
    EXPECT_EQ(stamp.encode(basic_stamp::plain), (bytes_t{'2', '3', '4', '5', '6'}));
}

TEST(basic_stamp, set_data_beyond_the_longest_string_is_a_length_error) {
    open_stamp stamp(2);
    const std::size_t too_long = static_cast<std::size_t>(-1);
    try {
        stamp.set_data("a", too_long);
        FAIL() << "no exception";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "basic_string::assign");
    }
}

TEST(basic_stamp, set_data_of_the_longest_string_fails_for_lack_of_memory) {
    open_stamp stamp(2);
    EXPECT_THROW(stamp.set_data("a", bytes_t().max_size()), std::bad_alloc);
    EXPECT_TRUE(stamp.encode(basic_stamp::plain).empty());
}

TEST(basic_stamp, is_destroyed_through_its_base) {
    std::unique_ptr<basic_stamp> stamp = std::make_unique<image_stamp>("seal", some_uuid, "a", 1);
    const std::weak_ptr<basic_stamp> watched = std::shared_ptr<basic_stamp>(std::move(stamp));
    EXPECT_TRUE(watched.expired());
}

struct slot_bytes {
    std::vector<unsigned char> bytes;
    int format;
};

TEST(basic_stamp, only_the_magic_alone_or_with_a_zero_byte_is_sealed) {
    const slot_bytes table[] = {
        {{}, 0},
        {{'V'}, 0},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a'}, 0},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'l'}, 1},
        {{0x56, 0x65, 0x6d, 0x72, 0x61, 0x53, 0x65, 0x61, 0x6c}, 1},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'l', 0x00}, 1},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'l', 0x01}, 0},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'l', 0x00, 0x00}, 0},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'l', 0x89, 'P', 'N', 'G'}, 0},
        {{'v', 'e', 'm', 'r', 'a', 's', 'e', 'a', 'l'}, 0},
        {{'V', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'x'}, 0},
        {{'x', 'e', 'm', 'r', 'a', 'S', 'e', 'a', 'l', 0x00}, 0},
        {{0x89, 'P', 'N', 'G', 0x0d, 0x0a, 0x1a, 0x0a, 0x00}, 0},
    };
    for (const slot_bytes& row : table) {
        EXPECT_EQ(basic_stamp::detect_stamp_format(row.bytes.data(), row.bytes.size()), row.format)
            << testing::PrintToString(row.bytes);
    }
}

TEST(basic_stamp, no_long_slot_is_sealed) {
    std::vector<unsigned char> bytes(1 << 20, 'x');
    const std::string magic = "VemraSeal";
    std::copy(magic.begin(), magic.end(), bytes.begin());
    EXPECT_EQ(basic_stamp::detect_stamp_format(bytes.data(), bytes.size()), 0);
}

}  // namespace
