// One writer per device and several readers of all devices, in threads of one process.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "sweep/crowd/moving_stamp.h"
#include "sweep/crowd/plain_calls.h"

namespace {

using clock_type = std::chrono::steady_clock;

constexpr int token_count = 4;
constexpr int reader_count = 3;
constexpr int rounds = 12;
// No call waits longer than this for another one.
constexpr double longest_wait_seconds = 10;

class longest_call {
public:
    template <typename Work>
    auto timed(Work work) {
        const auto begin = clock_type::now();
        auto result = work();
        const double taken = std::chrono::duration<double>(clock_type::now() - begin).count();
        const std::lock_guard<std::mutex> lock(mutex_);
        if (taken > seconds_) seconds_ = taken;
        return result;
    }
    double seconds() const { return seconds_; }

private:
    std::mutex mutex_;
    double seconds_ = 0;
};

using named_bytes = std::vector<std::pair<std::string, std::string>>;

named_bytes _without_uuids(const std::vector<seen_stamp>& stamps) {
    named_bytes result;
    for (const seen_stamp& stamp : stamps)
        result.emplace_back(stamp.name, stamp.data);
    return result;
}

void _expect_on(const token& device, const std::vector<new_stamp>& due, longest_call& waits) {
    named_bytes expected;
    for (const new_stamp& stamp : due)
        expected.emplace_back(stamp.name, stamp.data);
    EXPECT_EQ(_without_uuids(waits.timed([&] { return listed_stamps(device); })), expected);
}

/** Appends, replaces and removes a stamp beside the resting one, over and over. */
void _write(const token& device, longest_call& waits) {
    for (int round = 0; round < rounds && !::testing::Test::HasFailure(); ++round) {
        const new_stamp first = stamp_version(2 * round);
        const new_stamp second = stamp_version(2 * round + 1);
        EXPECT_EQ(waits.timed([&] { return append_stamp(device, first); }), 1);
        _expect_on(device, {resting, first}, waits);
        const std::string uuid = listed_stamps(device).back().uuid;
        EXPECT_EQ(waits.timed([&] { return update_stamp(uuid, second); }), 1);
        _expect_on(device, {resting, second}, waits);
        EXPECT_EQ(waits.timed([&] { return delete_stamp(uuid); }), 1);
        _expect_on(device, {resting}, waits);
    }
}

/** Lists everything until the writers are done; no stamp is ever torn. */
int _read(const std::atomic<bool>& is_done, longest_call& waits) {
    int seen = 0;
    while (!is_done && !::testing::Test::HasFailure()) {
        for (const seen_stamp& stamp : waits.timed([] { return listed_stamps(); })) {
            ++seen;
            if (stamp.name == resting.name) {
                EXPECT_EQ(stamp.data, resting.data);
            } else {
                EXPECT_EQ(stamp.name, moving_name);
                EXPECT_TRUE(is_whole_or_between(stamp.data)) << stamp.data;
            }
        }
    }
    return seen;
}

TEST(threads, one_writer_per_token_and_many_readers_lose_nothing) {
    const std::vector<token> tokens = make_tokens(token_count);
    for (const token& device : tokens)
        ASSERT_EQ(append_stamp(device, resting), 1);

    longest_call waits;
    std::atomic<bool> is_done{false};
    std::atomic<int> seen{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < reader_count; ++i)
        readers.emplace_back([&] { seen += _read(is_done, waits); });
    std::vector<std::thread> writers;
    for (const token& device : tokens)
        writers.emplace_back([&waits, device] { _write(device, waits); });
    for (std::thread& writer : writers)
        writer.join();
    is_done = true;
    for (std::thread& reader : readers)
        reader.join();

    EXPECT_EQ(_without_uuids(listed_stamps()),
              named_bytes(tokens.size(), {resting.name, resting.data}));
    EXPECT_EQ(unsound_files(), "");
    EXPECT_GT(seen, 0);
    EXPECT_LT(waits.seconds(), longest_wait_seconds);
    RecordProperty("stamps_read", seen);
    RecordProperty("longest_call_ms", static_cast<int>(waits.seconds() * 1000));
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    discard_trace();
    return RUN_ALL_TESTS();
}
