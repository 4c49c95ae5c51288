#include "core/stamp_info_header.h"

#include <gtest/gtest.h>

#include <string>

using vemra::app::stamp::parse_stamp_info_header;

namespace {

TEST(stamp_info_header, is_a_little_endian_length_and_a_version) {
    const std::string record = "\x04\x03\x02\x81\x07more";
    const auto* start = reinterpret_cast<const unsigned char*>(record.data());
    const auto header = parse_stamp_info_header(start, record.size());
    ASSERT_TRUE(header.has_value());
    EXPECT_EQ(header->total_length, 0x81020304U);
    EXPECT_EQ(header->version, 7);
}

TEST(stamp_info_header, needs_its_five_bytes_and_no_more) {
    const unsigned char start[] = {5, 0, 0, 0, 1};
    EXPECT_TRUE(parse_stamp_info_header(start, 5).has_value());
    EXPECT_FALSE(parse_stamp_info_header(start, 4).has_value());
    EXPECT_FALSE(parse_stamp_info_header(start, 0).has_value());
}

}  // namespace
