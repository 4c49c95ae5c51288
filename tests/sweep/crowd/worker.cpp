#include "sweep/crowd/worker.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "sweep/crowd/plain_calls.h"

namespace {

// Far longer than anybody may wait for another process, on the slowest machine too.
constexpr std::chrono::seconds longest_silence{30};

/** False when it does not become true in time. */
bool _becomes_true(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + longest_silence;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace

bool worker_life::goes_on() const {
    return !is_to_end_ && !::testing::Test::HasFailure();
}

worker::worker(const work& task) : task_(task) {
    restart();
}

void worker::restart() {
    life_->steps_ = 0;
    process_.emplace([this] {
        // Nobody tells it to end when the test is killed.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        discard_trace();
        task_(*life_);
        return !::testing::Test::HasFailure();
    });
}

void worker::await_step() const {
    EXPECT_TRUE(_becomes_true([&] { return life_->steps_ > 0; })) << "a process does not go on";
}

void worker::kill_in_work() {
    process_->signal(SIGKILL);
    EXPECT_EQ(end(), -1) << "a process has ended by itself";
    ++life_->kills_;
}

void worker::finish() {
    life_->is_to_end_ = true;
    await_end();
}

void worker::await_end() {
    EXPECT_EQ(end(), 0);
}

/** The exit status; -1 after a signal. */
int worker::end() {
    if (!_becomes_true([&] { return process_->has_ended(); })) {
        ADD_FAILURE() << "a process does not end";
        process_->signal(SIGKILL);
    }
    const int state = process_->await();
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}
