#include "base/thread_safe_object.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <system_error>
#include <thread>

using qo::base::scoped_lock;

namespace {

int lock_failure = 0;

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

}  // namespace

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    return lock_failure != 0 ? lock_failure : __real_pthread_mutex_lock(mutex);
}
}

namespace {

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

TEST(thread_safe_object, failure_to_lock_is_a_system_error) {
    counter one;
    lock_failure = EINVAL;
    int code = 0;
    try {
        one.add();
    } catch (const std::system_error& error) {
        code = error.code().value();
    }
    lock_failure = 0;
    EXPECT_EQ(code, EINVAL);
    EXPECT_EQ(one.value(), 0);
}

}  // namespace
