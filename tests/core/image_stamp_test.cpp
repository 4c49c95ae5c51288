#include "core/image_stamp.h"

#include <gtest/gtest.h>

#include <new>
#include <type_traits>

#include "support/allocation_faults.h"

using vemra::app::stamp::basic_stamp;
using vemra::app::stamp::image_stamp;

namespace {

using bytes_t = std::basic_string<unsigned char>;

const bytes_t image_uuid = {0x00, 0xff, 0x10};

TEST(image_stamp, has_the_image_type_its_name_its_uuid_and_its_bytes) {
    const image_stamp stamp("Company seal", image_uuid, "a\0b", 3);
    EXPECT_EQ(stamp.get_type(), basic_stamp::image);
    EXPECT_EQ(stamp.get_name(), "Company seal");
    EXPECT_EQ(stamp.get_uuid(), image_uuid);
    EXPECT_EQ(stamp.encode(basic_stamp::plain), (bytes_t{'a', 0, 'b'}));
}

TEST(image_stamp, cannot_be_copied) {
    EXPECT_FALSE(std::is_copy_constructible_v<image_stamp>);
    EXPECT_FALSE(std::is_copy_assignable_v<image_stamp>);
}

TEST(image_stamp, without_a_pointer_has_no_bytes) {
    const image_stamp stamp("seal", image_uuid, nullptr, 3);
    EXPECT_TRUE(stamp.encode(basic_stamp::sealed).empty());
}

TEST(image_stamp, of_size_0_has_no_bytes) {
    const image_stamp stamp("seal", image_uuid, "abc", 0);
    EXPECT_TRUE(stamp.encode(basic_stamp::plain).empty());
}

TEST(image_stamp, encodes_the_same_bytes_in_every_format) {
    const image_stamp stamp("seal", image_uuid, "abc", 3);
    const bytes_t bytes = {'a', 'b', 'c'};
    EXPECT_EQ(stamp.encode(basic_stamp::plain), bytes);
    EXPECT_EQ(stamp.encode(basic_stamp::sealed), bytes);
    EXPECT_EQ(stamp.encode(basic_stamp::format_t(9)), bytes);
}

TEST(image_stamp, copies_what_it_is_given) {
    std::string bytes = "abc";
    std::string name = "seal";
    const image_stamp stamp(name, image_uuid, bytes.data(), bytes.size());
    bytes = "xyz";
    name = "other";
    EXPECT_EQ(stamp.encode(basic_stamp::plain), (bytes_t{'a', 'b', 'c'}));
    EXPECT_EQ(stamp.get_name(), "seal");
}

TEST(image_stamp, hands_out_copies) {
    const image_stamp stamp("seal", image_uuid, "abc", 3);
    stamp.get_uuid()[0] = 1;
    stamp.get_name()[0] = 'x';
    stamp.encode(basic_stamp::plain)[0] = 'x';
    EXPECT_EQ(stamp.get_uuid(), image_uuid);
    EXPECT_EQ(stamp.get_name(), "seal");
    EXPECT_EQ(stamp.encode(basic_stamp::plain), (bytes_t{'a', 'b', 'c'}));
}

TEST(image_stamp, may_have_an_empty_name_and_an_empty_uuid) {
    const image_stamp stamp("", bytes_t(), "abc", 3);
    EXPECT_EQ(stamp.get_name(), "");
    EXPECT_TRUE(stamp.get_uuid().empty());
}

TEST(image_stamp, leaves_nothing_behind_when_memory_fails) {
    const std::string name(100, 'n');
    const bytes_t uuid(100, 7);
    const std::string bytes(100, 'b');
    const long before = allocation_faults::live_blocks();
    for (int nth = 1; nth <= 3; ++nth) {
        allocation_faults::fail_throwing(nth);
        EXPECT_THROW(image_stamp(name, uuid, bytes.data(), bytes.size()), std::bad_alloc) << nth;
        EXPECT_EQ(allocation_faults::live_blocks(), before) << nth;
    }
    allocation_faults::stop();
}

}  // namespace
