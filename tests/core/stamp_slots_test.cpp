#include "core/stamp_slots.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using vemra::app::stamp::is_listed;
using vemra::app::stamp::is_stamp_slot;
using vemra::app::stamp::lowest_free_slot;
using vemra::app::stamp::stamp_info_mapping;

namespace {

TEST(stamp_slots, of_stamps_are_8130_to_8134) {
    for (const int slot : {8130, 8131, 8132, 8133, 8134})
        EXPECT_TRUE(is_stamp_slot(slot)) << slot;
    for (const int slot : {8127, 8129, 8135, 0, -8130})
        EXPECT_FALSE(is_stamp_slot(slot)) << slot;
}

// As the numbers that the bytes of slot 8127 write: those beyond int come last.
TEST(stamp_slots, ascend_as_unsigned_numbers) {
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    std::vector<int> slots;
    for (const auto& entry : stamp_info_mapping{{-1, ""}, {0, ""}, {least, ""}, {most, ""}})
        slots.push_back(entry.first);
    EXPECT_EQ(slots, (std::vector<int>{0, most, least, -1}));
}

TEST(stamp_slots, are_listed_when_the_mapping_has_an_entry) {
    const stamp_info_mapping mapping{{8129, ""}, {8131, "B"}, {-1, ""}};
    EXPECT_TRUE(is_listed(mapping, 8131));
    EXPECT_TRUE(is_listed(mapping, -1));
    EXPECT_FALSE(is_listed(mapping, 8130));
    EXPECT_FALSE(is_listed(mapping, 8132));
    EXPECT_FALSE(is_listed({}, 8131));
}

TEST(stamp_slots, lowest_free_is_the_lowest_that_is_not_listed) {
    EXPECT_EQ(lowest_free_slot({}), 8130);
    EXPECT_EQ(lowest_free_slot({{8130, "A"}}), 8131);
    EXPECT_EQ(lowest_free_slot({{8131, "B"}, {8130, "A"}}), 8132);
    EXPECT_EQ(lowest_free_slot({{8131, "B"}, {8132, "C"}}), 8130);
    EXPECT_EQ(lowest_free_slot({{0, ""}, {8129, ""}, {8135, ""}, {-1, ""}}), 8130);
    EXPECT_EQ(lowest_free_slot({{8130, "A"}, {8131, "B"}, {8132, "C"}, {8133, "D"}}), 8134);
}

TEST(stamp_slots, none_is_free_when_all_five_are_listed) {
    EXPECT_EQ(lowest_free_slot({{8130, ""}, {8131, ""}, {8132, ""}, {8133, ""}, {8134, ""}}),
              std::nullopt);
}

}  // namespace
