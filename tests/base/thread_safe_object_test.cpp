#include "base/thread_safe_object.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "support/lock_watch.h"

using qo::base::scoped_lock;

namespace {

class counter : public qo::base::thread_safe_object {
public:
    void add() {
        const scoped_lock lock(*this);
        ++value_;
    }
    int value() const {
        const scoped_lock lock(*this);
        return value_;
    }

private:
    int value_ = 0;
};

TEST(thread_safe_object, serialises_the_operations_of_two_threads) {
    counter shared;
    const auto add_many = [&shared] {
        for (int i = 0; i < 20000; ++i)
            shared.add();
    };
    std::thread other(add_many);
    add_many();
    other.join();
    EXPECT_EQ(shared.value(), 40000);
}

TEST(thread_safe_object, has_a_mutex_of_its_own_in_each_object) {
    counter one;
    const counter two;
    const scoped_lock hold_one(one);
    EXPECT_EQ(two.value(), 0);
}

TEST(thread_safe_object, releases_its_lock_at_the_end_of_the_scope) {
    counter one;
    one.add();
    one.add();
    EXPECT_EQ(one.value(), 2);
}

TEST(thread_safe_object, is_locked_once_by_a_scoped_lock) {
    counter one;
    const lock_watch watch(one);
    one.add();
    EXPECT_EQ(watch.count(), 1);
}

TEST(thread_safe_object, failure_to_lock_is_a_system_error) {
    counter one;
    lock_watch watch(one);
    watch.fail_with(EINVAL);
    try {
        one.add();
        FAIL() << "no exception";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::error_code(EINVAL, std::generic_category()));
    }
}

}  // namespace
