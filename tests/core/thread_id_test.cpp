#include "core/thread_id.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using vemra::app::stamp::__gettid;

namespace {

std::atomic<int> system_calls{0};

}  // namespace

extern "C" {
// The library passes the number alone.
long __real_syscall(long number, ...);
long __wrap_syscall(long number);
long __wrap_syscall(long number) {
    if (number == SYS_gettid) ++system_calls;
    return __real_syscall(number);
}
}

namespace {

TEST(thread_id, is_that_of_the_kernel) {
    EXPECT_EQ(__gettid(), gettid());
}

TEST(thread_id, of_the_first_thread_is_that_of_the_process) {
    EXPECT_EQ(__gettid(), getpid());
}

TEST(thread_id, is_one_system_call_in_a_thread) {
    int first = 0;
    int second = 0;
    system_calls = 0;
    std::thread([&] {
        first = __gettid();
        second = __gettid();
    }).join();
    EXPECT_EQ(first, second);
    EXPECT_EQ(system_calls, 1);
}

TEST(thread_id, is_one_system_call_in_each_thread) {
    system_calls = 0;
    int ids[2] = {};
    for (int& id : ids)
        std::thread([&id] { id = __gettid(); }).join();
    EXPECT_EQ(system_calls, 2);
    EXPECT_NE(ids[0], __gettid());
    EXPECT_NE(ids[1], __gettid());
}

}  // namespace
