// Processes at the same tokens: first undisturbed, then some of them killed at random, at last
// several writers at one token. Killed processes are started anew and go on.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <random>
#include <thread>

#include "support/child_process.h"
#include "sweep/crowd/moving_stamp.h"
#include "sweep/crowd/plain_calls.h"
#include "sweep/crowd/worker.h"
#include "sweep/raw_slots.h"

namespace {

using clock_type = std::chrono::steady_clock;

constexpr int token_count = 3;
constexpr int reader_count = 2;
constexpr int rounds = 10;
constexpr int kill_count = 40;
// No call waits longer for another process.
constexpr std::chrono::seconds longest_wait{10};

using named_bytes = std::vector<std::pair<std::string, std::string>>;

/** The call's result; it may not have waited longer for others. */
template <typename Call>
auto _in_time(Call call) {
    const auto begin = clock_type::now();
    auto result = call();
    EXPECT_LT(clock_type::now() - begin, longest_wait);
    return result;
}

named_bytes _listed(const token& device) {
    named_bytes result;
    for (const seen_stamp& stamp : _in_time([&] { return listed_stamps(device); }))
        result.emplace_back(stamp.name, stamp.data);
    return result;
}

void _expect_on(const token& device, const std::vector<new_stamp>& due) {
    named_bytes expected;
    for (const new_stamp& stamp : due)
        expected.emplace_back(stamp.name, stamp.data);
    EXPECT_EQ(_listed(device), expected);
}

/** Appends, replaces and removes the moving stamp. */
void _write_round(const token& device, int round) {
    const new_stamp first = stamp_version(2 * round);
    const new_stamp second = stamp_version(2 * round + 1);
    EXPECT_EQ(_in_time([&] { return append_stamp(device, first); }), 1);
    _expect_on(device, {resting, first});
    const std::string uuid = listed_stamps(device).back().uuid;
    EXPECT_EQ(_in_time([&] { return update_stamp(uuid, second); }), 1);
    _expect_on(device, {resting, second});
    EXPECT_EQ(_in_time([&] { return delete_stamp(uuid); }), 1);
    _expect_on(device, {resting});
}

/** Whether all tokens had their resting stamp; no stamp is ever torn. */
bool _read_all(const std::vector<token>& tokens) {
    std::size_t resting_ones = 0;
    for (const seen_stamp& stamp : _in_time([] { return listed_stamps(); })) {
        if (stamp.name == resting.name) {
            EXPECT_EQ(stamp.data, resting.data);
            ++resting_ones;
        } else {
            EXPECT_EQ(stamp.name, moving_name);
            EXPECT_TRUE(is_whole_or_between(stamp.data)) << stamp.data;
        }
    }
    EXPECT_LE(resting_ones, tokens.size());
    return resting_ones == tokens.size();
}

/** Reads until it is told to end; a step is a list with all resting stamps. */
worker::work _reading(const std::vector<token>& tokens) {
    return [&tokens](worker_life& life) {
        while (life.goes_on())
            if (_read_all(tokens)) life.step();
    };
}

/** A lost record has left the bytes of the resting stamp, which is then appended over them. */
void _append_again(const token& device, int index) {
    const std::map<int, std::string> slots = raw_slots(index);
    const auto record = slots.find(8127);
    EXPECT_TRUE(record == slots.end() ||
                record->second.find_first_not_of('\0') == std::string::npos);
    EXPECT_EQ(slots.at(8130), resting.data);
    EXPECT_EQ(append_stamp(device, resting), 1);
}

/** Whether a killed writer left the token without a record. Only the resting stamp stays. */
bool _clear_up(const token& device, int index) {
    const std::vector<seen_stamp> found = listed_stamps(device);
    const bool has_lost_record = found.empty();
    if (has_lost_record) _append_again(device, index);
    if (found.size() == 2) {
        EXPECT_TRUE(is_whole_or_between(found.back().data)) << found.back().data;
        EXPECT_EQ(delete_stamp(found.back().uuid), 1);
    }
    _expect_on(device, {resting});
    return has_lost_record;
}

std::vector<token> _tokens_with_a_resting_stamp(int count) {
    std::vector<token> tokens = make_tokens(count);
    const child_end filled = in_child([&] {
        discard_trace();
        for (const token& device : tokens)
            EXPECT_EQ(append_stamp(device, resting), 1);
        return std::string();
    });
    EXPECT_EQ(filled.status, 0);
    return tokens;
}

TEST(processes, one_writer_per_token_and_many_readers_lose_nothing) {
    const std::vector<token> tokens = _tokens_with_a_resting_stamp(token_count);
    std::list<worker> readers;
    std::list<worker> writers;
    for (int i = 0; i < reader_count; ++i)
        readers.emplace_back(_reading(tokens));
    for (const token& device : tokens) {
        writers.emplace_back([&device](worker_life& life) {
            for (int round = 0; round < rounds && life.goes_on(); ++round)
                _write_round(device, round);
        });
    }
    for (worker& writer : writers)
        writer.await_end();
    ASSERT_FALSE(HasFailure());
    for (worker& reader : readers) {
        reader.await_step();
        reader.finish();
    }
    EXPECT_EQ(unsound_files(), "");
}

/** Kills one of the workers after a random time, over and over; each has begun to work. */
void _kill_at_random(std::list<worker>& workers) {
    std::minstd_rand random(20);
    for (int i = 0; i < kill_count && !::testing::Test::HasFailure(); ++i) {
        worker& chosen = *std::next(workers.begin(), static_cast<long>(random() % workers.size()));
        chosen.await_step();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 10000));
        chosen.kill_in_work();
        chosen.restart();
    }
    ASSERT_FALSE(::testing::Test::HasFailure());
    for (worker& each : workers) {
        each.await_step();
        each.finish();
    }
}

TEST(processes, killed_at_random_lose_no_bytes_and_only_records_that_they_were_writing) {
    const std::vector<token> tokens = _tokens_with_a_resting_stamp(token_count);
    const shared<std::atomic<int>> lost_records;
    std::list<worker> workers;
    for (int i = 0; i < reader_count; ++i)
        workers.emplace_back(_reading(tokens));
    for (int i = 0; i < token_count; ++i) {
        const token& device = tokens[static_cast<std::size_t>(i)];
        workers.emplace_back([&, i](worker_life& life) {
            if (life.kills() > 0 && _clear_up(device, i)) ++*lost_records;
            _expect_on(device, {resting});
            for (int round = 0; life.goes_on(); ++round) {
                _write_round(device, round);
                life.step();
            }
        });
    }
    _kill_at_random(workers);

    const child_end seen = in_child([&] {
        discard_trace();
        for (const token& device : tokens)
            _expect_on(device, {resting});
        return std::string();
    });
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(unsound_files(), "");
    RecordProperty("lost_records", lost_records->load());
}

/** One operation of any kind, on whole stamps; what it does to others' is theirs to suffer. */
int _write_anything(const token& device, unsigned int number) {
    const std::vector<seen_stamp> stamps = listed_stamps(device);
    for (const seen_stamp& stamp : stamps)
        EXPECT_TRUE(is_whole_or_between(stamp.data)) << stamp.data;
    const new_stamp version = stamp_version(static_cast<int>(number % 26));
    if (stamps.empty() || number % 3 == 0) return append_stamp(device, version);
    const std::string& uuid = stamps[number % stamps.size()].uuid;
    return number % 3 == 1 ? update_stamp(uuid, version) : delete_stamp(uuid);
}

/** Writes until it is told to end; a step is an operation that is told success. */
void _write_beside_others(const token& device, unsigned int seed, worker_life& life) {
    std::minstd_rand random(seed);
    while (life.goes_on()) {
        const auto number = static_cast<unsigned int>(random());
        const int status = _in_time([&] { return _write_anything(device, number); });
        EXPECT_TRUE(status == 1 || status == 0 || status == -7) << status;
        if (status == 1) life.step();
    }
}

/** Nothing is torn, listed or not; and a writer that is alone can use the token as ever. */
void _expect_whole_stamps_on(const token& device) {
    for (const auto& [slot, bytes] : raw_slots())
        EXPECT_TRUE(slot == 8127 || is_whole_or_between(bytes)) << slot << ": " << bytes;
    for (const seen_stamp& stamp : listed_stamps(device)) {
        EXPECT_EQ(stamp.name, moving_name);
        EXPECT_TRUE(is_whole_or_between(stamp.data)) << stamp.data;
        EXPECT_EQ(delete_stamp(stamp.uuid), 1);
    }
    EXPECT_EQ(append_stamp(device, resting), 1);
    _expect_on(device, {resting});
}

TEST(processes, several_writers_at_one_token_leave_sound_files_and_whole_stamps) {
    const token device = make_tokens(1).front();
    std::list<worker> writers;
    for (unsigned int i = 0; i < 4; ++i) {
        writers.emplace_back([&, i](worker_life& life) {
            const auto kills = static_cast<unsigned int>(life.kills());
            _write_beside_others(device, 1 + i + 100 * kills, life);
        });
    }
    _kill_at_random(writers);
    EXPECT_EQ(unsound_files(), "");
    const child_end seen = in_child([&] {
        discard_trace();
        _expect_whole_stamps_on(device);
        return std::string();
    });
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(unsound_files(), "");
}

}  // namespace
