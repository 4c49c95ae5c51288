// A process that stops in the middle of a change keeps its token locked. Readers do not wait for
// it, writers no longer than they are told to; afterwards all is as it was.

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "sweep/child_process.h"
#include "sweep/moving_stamp.h"
#include "sweep/plain_calls.h"
#include "sweep/raw_slots.h"

namespace {

using clock_type = std::chrono::steady_clock;
using std::chrono::seconds;

// How long one call of the device library waits for another process.
constexpr seconds told_wait{10};
constexpr seconds leeway{5};

std::string _only_database() {
    for (const auto& token :
         std::filesystem::directory_iterator(std::getenv("VEMRA_SOFTTOKEN_DIR")))
        if (token.is_directory()) return token.path() / "token.db";
    return {};
}

/** A process that has begun to change the token and goes no further. */
class stopped_writer {
public:
    stopped_writer() {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) std::abort();
        child_ = fork();
        if (child_ == 0) {
            sqlite3* database = nullptr;
            const bool is_locked =
                sqlite3_open(_only_database().c_str(), &database) == SQLITE_OK &&
                sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
            if (is_locked && write(ends[1], "!", 1) == 1) pause();
            _exit(1);
        }
        close(ends[1]);
        char sign = 0;
        is_ready_ = read(ends[0], &sign, 1) == 1;
        close(ends[0]);
    }
    ~stopped_writer() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    stopped_writer(const stopped_writer&) = delete;
    stopped_writer& operator=(const stopped_writer&) = delete;

    bool is_ready() const { return is_ready_; }

private:
    pid_t child_ = -1;
    bool is_ready_ = false;
};

template <typename Work>
clock_type::duration _time_of(Work work) {
    const auto begin = clock_type::now();
    work();
    return clock_type::now() - begin;
}

// The writer of slot 8127 fails in its first changing call, so that it waits once.
std::string _work_beside_a_stopped_writer(const token& device) {
    discard_trace();
    EXPECT_EQ(append_stamp(device, resting), 1);
    const std::map<int, std::string> before = raw_slots();
    std::string uuid;
    {
        const stopped_writer other;
        EXPECT_TRUE(other.is_ready());
        EXPECT_LT(_time_of([&] { uuid = listed_stamps(device).at(0).uuid; }), leeway);
        int status = 1;
        const auto waited = _time_of([&] { status = delete_stamp(uuid); });
        EXPECT_EQ(status, 0);
        EXPECT_GE(waited, told_wait - seconds(1));
        EXPECT_LT(waited, told_wait + leeway);
        EXPECT_EQ(raw_slots(), before);
    }
    EXPECT_EQ(delete_stamp(uuid), 1);
    EXPECT_TRUE(listed_stamps(device).empty());
    return {};
}

TEST(processes, wait_for_a_stopped_writer_as_long_as_told_and_lose_nothing) {
    const token device = make_tokens(1).front();
    EXPECT_EQ(in_child([&] { return _work_beside_a_stopped_writer(device); }).status, 0);
}

}  // namespace
