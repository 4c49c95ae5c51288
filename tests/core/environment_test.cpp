#include "core/environment.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <thread>

#include "support/allocation_faults.h"
#include "support/lock_watch.h"

using qo::base::path;
using vemra::app::stamp::environment;

namespace {

TEST(environment, is_one_object) {
    EXPECT_EQ(&environment::instance(), &environment::instance());
}

TEST(environment, is_the_same_object_in_every_thread) {
    environment* other = nullptr;
    std::thread([&other] { other = &environment::instance(); }).join();
    EXPECT_EQ(other, &environment::instance());
}

TEST(environment, starts_at_level_0) {
    EXPECT_EQ(environment::instance().get_log_level(), 0);
}

TEST(environment, starts_with_its_directory_without_the_separator_at_its_end) {
    EXPECT_EQ(std::string(environment::instance().get_log_directory()),
              "/var/logs/VEMRA_APP_STAMP");
}

TEST(environment, keeps_the_level_that_is_set) {
    environment::instance().set_log_level(5);
    const int level = environment::instance().get_log_level();
    environment::instance().set_log_level(0);
    EXPECT_EQ(level, 5);
}

TEST(environment, keeps_a_copy_of_the_directory_that_is_set) {
    const path before = environment::instance().get_log_directory();
    { environment::instance().set_log_directory(path("/tmp/logs")); }
    const std::string directory = environment::instance().get_log_directory();
    environment::instance().set_log_directory(before);
    EXPECT_EQ(directory, "/tmp/logs");
}

// Kept(unlocked-directory): the caller of get_log_directory reads the path without a lock.
TEST(environment, hands_out_its_directory_by_reference_and_unlocked) {
    const path& directory = environment::instance().get_log_directory();
    EXPECT_EQ(&directory, &environment::instance().get_log_directory());
    environment::instance().set_log_directory(path(directory));
    EXPECT_EQ(std::string(directory), "/var/logs/VEMRA_APP_STAMP");
}

TEST(environment, locks_once_in_each_operation) {
    environment& one = environment::instance();
    const path directory = one.get_log_directory();
    const lock_watch watch(one);
    one.get_log_level();
    EXPECT_EQ(watch.count(), 1);
    one.set_log_level(0);
    EXPECT_EQ(watch.count(), 2);
    one.get_log_directory();
    EXPECT_EQ(watch.count(), 3);
    one.set_log_directory(directory);
    EXPECT_EQ(watch.count(), 4);
}

int allocations_of_a_failing_change(const path& directory) {
    environment& one = environment::instance();
    lock_watch watch(one);
    watch.fail_with(EINVAL);
    allocation_faults::fail_throwing(0);
    EXPECT_THROW(one.set_log_directory(directory), std::system_error);
    const int count = allocation_faults::throwing_count();
    allocation_faults::stop();
    return count;
}

// Another thread may change the directory that is copied, if it is the environment's own.
TEST(environment, copies_no_directory_before_it_has_the_lock) {
    EXPECT_EQ(allocations_of_a_failing_change(path("/tmp")),
              allocations_of_a_failing_change(path("/tmp/one/two/three")));
}

TEST(environment, fails_with_a_system_error_when_the_mutex_fails) {
    environment& one = environment::instance();
    lock_watch watch(one);
    watch.fail_with(EINVAL);
    EXPECT_THROW(one.get_log_level(), std::system_error);
    EXPECT_THROW(one.set_log_level(1), std::system_error);
    EXPECT_THROW(one.get_log_directory(), std::system_error);
    EXPECT_THROW(one.set_log_directory(path("/tmp/logs")), std::system_error);
}

}  // namespace
