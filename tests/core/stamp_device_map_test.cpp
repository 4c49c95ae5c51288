#include "core/stamp_device_map.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <thread>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"

using vemra::app::stamp::g_stamp_device_map;
using vemra::app::stamp::stamp_device_map;
using vemra::crypto::device;

namespace {

using uuid_t = std::basic_string<unsigned char>;
using item = stamp_device_map::item;

const uuid_t first_uuid = {0x00, 0x01};
const uuid_t second_uuid = {0x00, 0x01, 0x00};

std::shared_ptr<item> new_item(int slot, const std::string& name = "seal") {
    return std::make_shared<item>(nullptr, slot, name);
}

TEST(stamp_device_map, of_the_process_starts_empty) {
    EXPECT_FALSE(g_stamp_device_map.has(first_uuid));
    EXPECT_FALSE(g_stamp_device_map.has(uuid_t()));
}

TEST(stamp_device_map, does_not_have_an_unknown_uuid) {
    const stamp_device_map map;
    EXPECT_FALSE(map.has(first_uuid));
    EXPECT_EQ(map.get(first_uuid), nullptr);
}

TEST(stamp_device_map, asking_does_not_make_a_uuid_known) {
    const stamp_device_map map;
    map.get(first_uuid);
    EXPECT_FALSE(map.has(first_uuid));
}

TEST(stamp_device_map, hands_out_the_very_item_that_was_put) {
    stamp_device_map map;
    const auto put = new_item(8130);
    map.put(first_uuid, put);
    EXPECT_TRUE(map.has(first_uuid));
    EXPECT_EQ(map.get(first_uuid), put);
}

TEST(stamp_device_map, tells_uuids_apart_by_length_and_by_every_byte) {
    stamp_device_map map;
    map.put(first_uuid, new_item(8130));
    map.put(second_uuid, new_item(8131));
    EXPECT_EQ(map.get(first_uuid)->get_data_id(), 8130);
    EXPECT_EQ(map.get(second_uuid)->get_data_id(), 8131);
    EXPECT_FALSE(map.has({0x00, 0x02}));
    EXPECT_FALSE(map.has({0x00}));
}

TEST(stamp_device_map, put_twice_holds_the_second_item_alone) {
    stamp_device_map map;
    auto first = new_item(8130);
    const std::weak_ptr<item> replaced = first;
    map.put(first_uuid, first);
    first.reset();
    map.put(first_uuid, new_item(8131));
    EXPECT_EQ(map.get(first_uuid)->get_data_id(), 8131);
    EXPECT_TRUE(replaced.expired());
}

TEST(stamp_device_map, clear_forgets_every_uuid) {
    stamp_device_map map;
    map.put(first_uuid, new_item(8130));
    map.put(second_uuid, new_item(8131));
    map.clear();
    EXPECT_FALSE(map.has(first_uuid));
    EXPECT_FALSE(map.has(second_uuid));
}

TEST(stamp_device_map, items_outlive_their_entries) {
    stamp_device_map map;
    map.put(first_uuid, new_item(8130, "kept"));
    const auto kept = map.get(first_uuid);
    map.clear();
    EXPECT_EQ(kept->get_name(), "kept");
}

TEST(stamp_device_map, item_tells_device_slot_and_name) {
    const fake_device_library fake;
    const auto owner = std::make_shared<device>();
    const item one(owner, 8134, "seal");
    EXPECT_EQ(one.get_device(), owner);
    EXPECT_EQ(one.get_data_id(), 8134);
    EXPECT_EQ(one.get_name(), "seal");
}

TEST(stamp_device_map, keeps_the_device_of_an_entry_alive_until_it_goes) {
    const fake_device_library fake;
    stamp_device_map map;
    map.put(first_uuid, std::make_shared<item>(std::make_shared<device>(), 8130, "seal"));
    EXPECT_EQ(fake.live_devices(), 1);
    map.clear();
    EXPECT_EQ(fake.live_devices(), 0);
}

TEST(stamp_device_map, locks_once_in_each_operation) {
    stamp_device_map map;
    const auto put = new_item(8130);
    const lock_watch watch(map);
    map.has(first_uuid);
    EXPECT_EQ(watch.count(), 1);
    map.get(first_uuid);
    EXPECT_EQ(watch.count(), 2);
    map.put(first_uuid, put);
    EXPECT_EQ(watch.count(), 3);
    map.clear();
    EXPECT_EQ(watch.count(), 4);
}

TEST(stamp_device_map, fails_with_a_system_error_when_the_mutex_fails) {
    stamp_device_map map;
    lock_watch watch(map);
    watch.fail_with(EINVAL);
    EXPECT_THROW(map.has(first_uuid), std::system_error);
    EXPECT_THROW(map.get(first_uuid), std::system_error);
    EXPECT_THROW(map.put(first_uuid, new_item(8130)), std::system_error);
    EXPECT_THROW(map.clear(), std::system_error);
}

TEST(stamp_device_map, is_unlocked_and_unchanged_when_memory_fails) {
    stamp_device_map map;
    const auto put = new_item(8130);
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(map.put(first_uuid, put), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_FALSE(map.has(first_uuid));
}

TEST(stamp_device_map, serves_two_threads) {
    stamp_device_map map;
    const auto use = [&map](unsigned char thread) {
        for (unsigned char i = 0; i < 200; ++i) {
            map.put({thread, i}, new_item(i));
            map.get({thread, i})->get_name();
        }
    };
    std::thread other(use, 1);
    use(2);
    other.join();
    EXPECT_EQ(map.get({1, 199})->get_data_id(), 199);
    EXPECT_EQ(map.get({2, 0})->get_data_id(), 0);
}

}  // namespace
