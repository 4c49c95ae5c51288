// One writing process per token and several reading ones. Writers are killed at random and begin
// again. A writer that finds its token's record gone writes no more, as an application should.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <random>
#include <thread>

#include "sweep/child_process.h"
#include "sweep/moving_stamp.h"
#include "sweep/plain_calls.h"
#include "sweep/raw_slots.h"

namespace {

using clock_type = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int token_count = 3;
constexpr int reader_count = 2;
constexpr int kill_count = 25;
// Nobody waits longer for another process.
constexpr seconds longest_wait{10};

pid_t _start(const std::function<void()>& work) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    discard_trace();
    work();
    _exit(::testing::Test::HasFailure() ? 1 : 0);
}

/** The exit status; -1 after a signal. Fails when the child does not end in time. */
int _end_of(pid_t child) {
    const auto deadline = clock_type::now() + longest_wait;
    int state = 0;
    while (waitpid(child, &state, WNOHANG) == 0) {
        if (clock_type::now() > deadline) {
            ADD_FAILURE() << "a process waits for ever";
            kill(child, SIGKILL);
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

bool _has_resting(const std::vector<seen_stamp>& stamps) {
    for (const seen_stamp& stamp : stamps)
        if (stamp.name == resting.name) return stamp.data == resting.data;
    return false;
}

/** Appends, replaces and removes the moving stamp until it is killed or the record is gone. */
void _write(const token& device) {
    for (int round = 0;; ++round) {
        std::vector<seen_stamp> stamps = listed_stamps(device);
        if (!_has_resting(stamps)) return;
        if (stamps.size() == 1) {
            EXPECT_EQ(append_stamp(device, stamp_version(2 * round)), 1);
            stamps = listed_stamps(device);
        }
        EXPECT_EQ(update_stamp(stamps.back().uuid, stamp_version(2 * round + 1)), 1);
        EXPECT_EQ(delete_stamp(stamps.back().uuid), 1);
    }
}

/** Lists everything until it is ended; no stamp is ever torn. */
void _read(const clock_type::time_point& end) {
    while (clock_type::now() < end) {
        const auto begin = clock_type::now();
        for (const seen_stamp& stamp : listed_stamps()) {
            if (stamp.name == resting.name) {
                EXPECT_EQ(stamp.data, resting.data);
            } else {
                EXPECT_EQ(stamp.name, moving_name);
                EXPECT_TRUE(is_whole_or_between(stamp.data)) << stamp.data;
            }
        }
        EXPECT_LT(clock_type::now() - begin, longest_wait);
    }
}

/** Kills a random writer after a random time and starts it anew, over and over. */
void _kill_at_random(const std::vector<token>& tokens) {
    std::minstd_rand random(20);
    std::vector<pid_t> writers;
    for (const token& device : tokens)
        writers.push_back(_start([&] { _write(device); }));
    for (int i = 0; i < kill_count; ++i) {
        std::this_thread::sleep_for(milliseconds(random() % 50));
        const std::size_t chosen = random() % tokens.size();
        kill(writers[chosen], SIGKILL);
        // It was killed, or had ended by itself and well.
        EXPECT_LE(_end_of(writers[chosen]), 0);
        writers[chosen] = _start([&] { _write(tokens[chosen]); });
    }
    for (const pid_t writer : writers) {
        kill(writer, SIGKILL);
        EXPECT_LE(_end_of(writer), 0);
    }
}

/** How many tokens lost their record; on the others a new process goes on. */
std::string _inspect(const std::vector<token>& tokens) {
    int lost_records = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        EXPECT_EQ(raw_slots(static_cast<int>(i)).at(8130), resting.data);
        if (_has_resting(listed_stamps(tokens[i]))) {
            EXPECT_EQ(append_stamp(tokens[i], {"later", "appended afterwards"}), 1);
            EXPECT_TRUE(_has_resting(listed_stamps(tokens[i])));
        } else {
            ++lost_records;
        }
    }
    return std::to_string(lost_records);
}

TEST(processes, killed_at_random_lose_no_bytes_and_block_nobody) {
    const std::vector<token> tokens = make_tokens(token_count);
    ASSERT_EQ(_end_of(_start([&] {
                  for (const token& device : tokens)
                      EXPECT_EQ(append_stamp(device, resting), 1);
              })),
              0);

    const auto readers_end = clock_type::now() + milliseconds(50 * kill_count / 2);
    std::vector<pid_t> readers;
    for (int i = 0; i < reader_count; ++i)
        readers.push_back(_start([&] { _read(readers_end); }));
    _kill_at_random(tokens);
    for (const pid_t reader : readers)
        EXPECT_EQ(_end_of(reader), 0);

    const child_end seen = in_child([&] {
        discard_trace();
        return _inspect(tokens);
    });
    EXPECT_EQ(seen.status, 0);
    RecordProperty("lost_records", seen.told);
}

}  // namespace
