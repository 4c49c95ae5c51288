#include "core/stamp_set.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <thread>

#include "core/image_stamp.h"
#include "support/allocation_faults.h"
#include "support/lock_watch.h"

using vemra::app::stamp::basic_stamp;
using vemra::app::stamp::image_stamp;
using vemra::app::stamp::stamp_set;

namespace {

std::shared_ptr<basic_stamp> new_stamp(const std::string& name = "seal") {
    return std::make_shared<image_stamp>(name, std::basic_string<unsigned char>(1, 7), "a", 1);
}

TEST(stamp_set, starts_empty) {
    const stamp_set set;
    EXPECT_EQ(set.size(), 0U);
    EXPECT_TRUE(set.empty());
}

TEST(stamp_set, hands_out_the_very_stamp_that_was_added) {
    stamp_set set;
    const auto stamp = new_stamp();
    set.push_back(stamp);
    EXPECT_EQ(set.size(), 1U);
    EXPECT_FALSE(set.empty());
    EXPECT_EQ(set[0], stamp);
    EXPECT_EQ(static_cast<const stamp_set&>(set)[0], stamp);
}

TEST(stamp_set, keeps_the_order_of_insertion) {
    stamp_set set;
    for (const char* name : {"b", "c", "a"})
        set.push_back(new_stamp(name));
    EXPECT_EQ(set[0]->get_name() + set[1]->get_name() + set[2]->get_name(), "bca");
}

TEST(stamp_set, holds_an_empty_pointer_and_the_same_stamp_twice) {
    stamp_set set;
    const auto stamp = new_stamp();
    set.push_back(nullptr);
    set.push_back(stamp);
    set.push_back(stamp);
    EXPECT_EQ(set.size(), 3U);
    EXPECT_EQ(set[0], nullptr);
    EXPECT_EQ(set[1], set[2]);
}

TEST(stamp_set, shares_its_stamps_with_those_who_took_them_out) {
    std::optional<stamp_set> set(std::in_place);
    set->push_back(new_stamp("kept"));
    const auto kept = (*set)[0];
    set.reset();
    EXPECT_EQ(kept->get_name(), "kept");
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(stamp_set, releases_its_stamps_when_it_is_destroyed) {
    std::optional<stamp_set> set(std::in_place);
    auto stamp = new_stamp();
    const std::weak_ptr<basic_stamp> watched = stamp;
    set->push_back(std::move(stamp));
    EXPECT_FALSE(watched.expired());
    set.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(stamp_set, locks_once_in_every_operation_its_destructor_included) {
    std::optional<stamp_set> set(std::in_place);
    const lock_watch watch(*set);
    set->push_back(nullptr);
    EXPECT_EQ(watch.count(), 1);
    set->size();
    EXPECT_EQ(watch.count(), 2);
    set->empty();
    EXPECT_EQ(watch.count(), 3);
    (*set)[0];
    EXPECT_EQ(watch.count(), 4);
    static_cast<const stamp_set&>(*set)[0];
    EXPECT_EQ(watch.count(), 5);
    set.reset();
    EXPECT_EQ(watch.count(), 6);
}

class lock_asking_stamp : public image_stamp {
public:
    lock_asking_stamp(const lock_watch& watch, bool& was_held)
        : image_stamp("seal", {0x01}, "a", 1), watch_(watch), was_held_(was_held) {}
    ~lock_asking_stamp() override { was_held_ = watch_.is_held(); }

private:
    const lock_watch& watch_;
    bool& was_held_;
};

TEST(stamp_set, holds_its_lock_while_its_destructor_releases_the_stamps) {
    std::optional<stamp_set> set(std::in_place);
    const lock_watch watch(*set);
    bool was_held = false;
    set->push_back(std::make_shared<lock_asking_stamp>(watch, was_held));
    EXPECT_FALSE(watch.is_held());
    set.reset();
    EXPECT_TRUE(was_held);
}

TEST(stamp_set, fails_with_a_system_error_when_the_mutex_fails) {
    stamp_set set;
    set.push_back(nullptr);
    lock_watch watch(set);
    watch.fail_with(EINVAL);
    EXPECT_THROW(set.push_back(nullptr), std::system_error);
    EXPECT_THROW(set.size(), std::system_error);
    EXPECT_THROW(set.empty(), std::system_error);
    EXPECT_THROW(set[0], std::system_error);
    EXPECT_THROW(static_cast<const stamp_set&>(set)[0], std::system_error);
    watch.fail_with(0);
    EXPECT_EQ(set.size(), 1U);
}

TEST(stamp_set_DeathTest, ends_the_process_when_it_cannot_be_locked_to_be_destroyed) {
    EXPECT_DEATH(
        {
            std::optional<stamp_set> set(std::in_place);
            lock_watch watch(*set);
            watch.fail_with(EINVAL);
            set.reset();
        },
        "terminate called after throwing an instance of 'std::system_error'");
}

TEST(stamp_set, is_unlocked_and_unchanged_when_its_growth_fails) {
    stamp_set set;
    const auto stamp = new_stamp();
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(set.push_back(stamp), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(set.size(), 0U);
    EXPECT_EQ(stamp.use_count(), 1);
}

TEST(stamp_set, takes_stamps_from_two_threads) {
    stamp_set set;
    const auto add_many = [&set] {
        for (int i = 0; i < 500; ++i)
            set.push_back(new_stamp());
    };
    std::thread other(add_many);
    add_many();
    other.join();
    EXPECT_EQ(set.size(), 1000U);
}

}  // namespace
