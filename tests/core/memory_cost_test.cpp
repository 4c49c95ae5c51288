// What is part of every call on a device, or grows with the picture, asks for memory seldom.

#include <gtest/gtest.h>

#include <string>

#include "base/hex.h"
#include "core/stamp_info_mapping.h"
#include "support/allocation_faults.h"

using vemra::app::stamp::_encode_stamp_info_mapping;
using vemra::app::stamp::_parse_stamp_info_mapping;
using vemra::app::stamp::stamp_info_mapping;

namespace {

TEST(memory_cost, of_reading_a_full_mapping_is_a_block_for_the_list_and_two_an_entry) {
    const std::string record = _encode_stamp_info_mapping(
        {{8130, "a"}, {8131, "b"}, {8132, "c"}, {8133, "d"}, {8134, "e"}});
    allocation_faults::stop();
    const stamp_info_mapping mapping = _parse_stamp_info_mapping(
        reinterpret_cast<const unsigned char*>(record.data()), record.size());
    EXPECT_LE(allocation_faults::throwing_count(), 1 + 5 * 2);
    EXPECT_EQ(mapping.size(), 5U);
}

TEST(memory_cost, of_the_digits_of_a_picture_is_one_block) {
    const std::string picture(100000, 'a');
    allocation_faults::stop();
    const std::string digits = qo::base::codec::hex::encode(picture.data(), picture.size(), false);
    EXPECT_EQ(allocation_faults::throwing_count(), 1);
    EXPECT_EQ(digits.size(), 200000U);
}

}  // namespace
