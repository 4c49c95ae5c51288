// Processes that stop in the middle of a change or of a password check keep their token locked.
// Nobody waits for them longer than told, and who does not need their token does not wait.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/child_process.h"
#include "sweep/crowd/moving_stamp.h"
#include "sweep/crowd/plain_calls.h"
#include "sweep/raw_slots.h"
#include "vemra_crypto.h"

namespace {

using clock_type = std::chrono::steady_clock;
using std::chrono::seconds;

// How long one call of the device library waits for another process.
constexpr seconds told_wait{10};
constexpr seconds leeway{5};
constexpr int device_busy = -121;

std::string _file_of(const token& device, const std::string& name) {
    return std::getenv("VEMRA_SOFTTOKEN_DIR") + ("/token-" + std::to_string(device.type)) + "/" +
           name;
}

child_work _nothing() {
    return [] { return std::string(); };
}

/** A process that has begun to change the token and goes no further. */
child_work _stop_in_a_change(const token& device) {
    sqlite3* database = nullptr;
    const bool is_locked =
        sqlite3_open(_file_of(device, "token.db").c_str(), &database) == SQLITE_OK &&
        sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
    if (!is_locked) _exit(1);
    return _nothing();
}

/** A process that has begun to check the token's password and goes no further. */
child_work _stop_in_a_password_check(const token& device) {
    const int file =
        open(_file_of(device, "password.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    struct flock turn {};
    turn.l_type = F_WRLCK;
    turn.l_len = 1;
    if (fcntl(file, F_OFD_SETLK, &turn) != 0) _exit(1);
    return _nothing();
}

template <typename Work>
clock_type::duration _time_of(Work work) {
    const auto begin = clock_type::now();
    work();
    return clock_type::now() - begin;
}

void _expect_told_wait(clock_type::duration waited) {
    EXPECT_GE(waited, told_wait - seconds(1));
    EXPECT_LT(waited, told_wait + leeway);
}

/** The record cannot be changed: its first changing call fails, so that this waits once. */
void _delete_beside_a_stopped_writer(const std::string& uuid) {
    _expect_told_wait(_time_of([&] { EXPECT_EQ(delete_stamp(uuid), 0); }));
}

void _verify_beside_a_stopped_check(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    int status = 1;
    int retries = -1;
    _expect_told_wait(
        _time_of([&] { status = VemraPKICryptoVerifyPwd(device, 1, token_password, &retries); }));
    EXPECT_EQ(status, device_busy);
}

/** In the process of one that waits, a list waits for it; no longer than it does. */
void _list_until(const std::atomic<bool>& is_done) {
    clock_type::duration longest{};
    while (!is_done)
        longest = std::max(longest, _time_of([] { EXPECT_EQ(listed_stamps().size(), 2u); }));
    EXPECT_GT(longest, seconds(1));
    EXPECT_LT(longest, told_wait + leeway);
}

/** Changes of another token wait for nobody, not even in the process of one that waits. */
void _update_until(const std::atomic<bool>& is_done, const std::string& uuid) {
    while (!is_done) {
        EXPECT_LT(_time_of([&] { EXPECT_EQ(update_stamp(uuid, resting), 1); }), leeway);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

/** The stamps are on the first and the last token; the password of the second is being checked. */
void _work_beside(const std::vector<seen_stamp>& stamps) {
    VEMRA_PKI_DEVICE_HANDLE_st* const second =
        VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 1);
    std::atomic<bool> is_done{false};
    std::thread checker([&] { _verify_beside_a_stopped_check(second); });
    std::thread updater([&] { _update_until(is_done, stamps.at(1).uuid); });
    std::thread writer([&] {
        _delete_beside_a_stopped_writer(stamps.at(0).uuid);
        is_done = true;
    });
    _list_until(is_done);
    for (std::thread* each : {&checker, &updater, &writer})
        each->join();
    VemraPKICryptoFreeDevice(second);
}

std::string _work_beside_stopped_processes(const std::vector<token>& tokens) {
    discard_trace();
    EXPECT_EQ(append_stamp(tokens[0], resting), 1);
    EXPECT_EQ(append_stamp(tokens[2], resting), 1);
    const std::map<int, std::string> before = raw_slots();
    std::vector<seen_stamp> stamps;
    {
        const waiting_child change([&] { return _stop_in_a_change(tokens[0]); });
        const waiting_child check([&] { return _stop_in_a_password_check(tokens[1]); });
        EXPECT_TRUE(change.is_ready());
        EXPECT_TRUE(check.is_ready());
        EXPECT_LT(_time_of([&] { stamps = listed_stamps(); }), leeway);
        _work_beside(stamps);
        EXPECT_EQ(raw_slots(), before);
    }
    EXPECT_EQ(delete_stamp(stamps.at(0).uuid), 1);
    EXPECT_TRUE(listed_stamps(tokens[0]).empty());
    return {};
}

TEST(stopped_processes, are_waited_for_as_long_as_told_and_nothing_is_lost) {
    const std::vector<token> tokens = make_tokens(3);
    EXPECT_EQ(in_child([&] { return _work_beside_stopped_processes(tokens); }).status, 0);
    EXPECT_EQ(unsound_files(), "");
}

}  // namespace
