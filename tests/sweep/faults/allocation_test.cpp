// Fails allocation 1, then 2, and so on, until a run meets no shortage; non-throwing and throwing
// forms apart, once and for good. Every round runs in a child process of its own, because a line
// that cannot be built at the end of a call ends the process.
//
// Non-throwing allocations are few, and the model counts them too. Of the throwing ones the model
// knows between which two visible steps they may fail and what is then seen: each round must end
// as one of these does, wholly, and a later allocation never as an earlier step.
//
// Beside the model stands a judgement without it: what others stored is lost where the buffer for
// the bytes of slot 8127 cannot be had, and nowhere else.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/allocation_faults.h"
#include "support/child_process.h"
#include "sweep/faults/bystanders.h"
#include "sweep/faults/stage.h"
#include "sweep/live/watched_call.h"

namespace {

struct shortage {
    const char* name;
    bool is_lasting;
};

const shortage shortages[] = {{"once", false}, {"for_good", true}};

std::ostream& operator<<(std::ostream& out, const shortage& one) {
    return out << one.name;
}

using sweep_case = std::tuple<scenario, shortage>;

class allocation : public ::testing::TestWithParam<sweep_case> {};

/** What a child tells its parent. */
struct report {
    bool is_good = false;
    bool met_shortage = false;
    bool has_ended = false;
    bool has_escaped = false;
    bool loses_entries = false;
    bool loses_first_slot = false;
    int status = 0;
    int step = 0;
};

/** Runs the round in a child, which tells what it has found with `tell`. */
template <typename Round>
report _in_child(Round round) {
    int ends[2];
    if (pipe(ends) != 0) return {};
    child_process child([&] {
        round([&](report found) {
            found.is_good = !::testing::Test::HasFailure();
            std::fflush(stdout);
            _exit(write(ends[1], &found, sizeof(found)) == sizeof(found) ? 0 : 1);
        });
        return false;
    });
    close(ends[1]);
    report found;
    const bool is_told = read(ends[0], &found, sizeof(found)) == sizeof(found);
    close(ends[0]);
    if (!child.succeeds() || !is_told) found.is_good = false;
    return found;
}

report _report_of(const seen_call& seen, int step) {
    report found;
    found.met_shortage = seen.met_shortage;
    found.has_ended = seen.has_ended;
    found.has_escaped = seen.escaped.has_value();
    found.status = seen.status;
    found.step = step;
    return found;
}

std::string _outcome(const report& found) {
    if (found.has_ended) return "end of the process";
    return found.has_escaped ? "exception" : std::to_string(found.status);
}

/** What the model shows when memory fails from one of its steps on. */
struct expected_end {
    seen_call seen;
    std::vector<std::string> calls;
    std::vector<std::map<int, std::string>> slots;
};

std::vector<std::map<int, std::string>> _slots(const model_devices& devices) {
    std::vector<std::map<int, std::string>> result;
    for (const auto& device : devices.attached)
        result.push_back(device->slots);
    return result;
}

/** The ends of all steps; the last one is the undisturbed one. */
std::vector<expected_end> _all_ends(const scenario& one, bool is_lasting, int number) {
    std::vector<expected_end> ends;
    bool has_failed = true;
    for (int step = 1; has_failed; ++step) {
        stage on(number, stage::sides::model);
        one.arrange(on);
        on.disturb({});
        on.devices.memory.restart();
        on.devices.memory.failing_step = step;
        on.devices.memory.is_lasting = is_lasting;
        seen_call seen = one.act(on.model, on);
        has_failed = on.devices.memory.has_failed();
        ends.push_back({std::move(seen), on.devices.calls, _slots(on.devices)});
    }
    return ends;
}

bool _is_end(const seen_call& seen, const stage& on, const expected_end& end) {
    return seen.has_ended == end.seen.has_ended && seen.escaped == end.seen.escaped &&
           seen.status == end.seen.status && seen.lines == end.seen.lines &&
           seen.stamps == end.seen.stamps && seen.outputs == end.seen.outputs &&
           seen.owner_serial == end.seen.owner_serial && on.fake.calls() == end.calls &&
           on.fake_slots() == end.slots;
}

/** The first step from `from` on that ends so; `from` itself when there is none. */
std::size_t _matching(const seen_call& seen, const stage& on, std::size_t from,
                      const std::vector<expected_end>& ends) {
    for (std::size_t step = from; step < ends.size(); ++step)
        if (_is_end(seen, on, ends[step])) return step;
    return from;
}

class throwing_round {
public:
    throwing_round(const scenario& one, bool is_lasting, int number)
        : one_(one),
          is_lasting_(is_lasting),
          number_(number),
          ends_(_all_ends(one, is_lasting, number)) {}

    report run(int nth) {
        report found = _in_child([&](const auto& tell) { fail_in_child(nth, tell); });
        from_ = static_cast<std::size_t>(found.step);
        return found;
    }

private:
    template <typename Tell>
    void fail_in_child(int nth, const Tell& tell) {
        stage on(number_, stage::sides::both);
        one_.arrange(on);
        on.disturb({});
        const bystanders others(on, one_.own_slot);
        const auto finish = [&](const seen_call& seen) {
            const std::size_t step = _matching(seen, on, from_, ends_);
            model_memory& memory = on.devices.memory;
            memory.restart();
            memory.failing_step = static_cast<int>(step) + 1;
            memory.is_lasting = is_lasting_;
            const seen_call due = one_.act(on.model, on);
            memory.restart();
            on.expect_same(seen, due);
            EXPECT_EQ(others.losses(), std::set<std::string>{});
            if (!seen.has_ended) on.go_on(one_);
            tell(_report_of(seen, static_cast<int>(step)));
        };
        watch_end(finish);
        allocation_faults::fail_throwing(nth, is_lasting_);
        finish(one_.act(on.live, on));
    }

    const scenario& one_;
    bool is_lasting_;
    int number_;
    std::vector<expected_end> ends_;
    std::size_t from_ = 0;
};

/** Device A has told how long its record is, and was then not asked for it. */
bool _is_record_unread(const std::vector<std::string>& calls) {
    const std::string length = "VemraPKICryptoGetDataLength(A, 8127, 0)";
    const auto told = std::find(calls.begin(), calls.end(), length);
    if (told == calls.end()) return false;
    return told + 1 == calls.end() || (told + 1)->rfind("VemraPKICryptoReadData(A, 8127,", 0) != 0;
}

report _nothrow_round(const scenario& one, bool is_lasting, int nth) {
    return _in_child([&](const auto& tell) {
        stage on;
        one.arrange(on);
        on.disturb({});
        const bystanders others(on, one.own_slot);
        model_memory& memory = on.devices.memory;
        memory.restart();
        memory.failing_nothrow = nth;
        memory.is_lasting = is_lasting;
        const seen_call due = one.act(on.model, on);
        memory.restart();
        allocation_faults::fail_nothrow(nth, is_lasting);
        const seen_call seen = one.act(on.live, on);
        on.expect_same(seen, due);
        report found = _report_of(seen, 0);
        const std::set<std::string> lost = others.losses();
        found.loses_entries = lost.count("entries of A") == 1;
        found.loses_first_slot = lost.count("bytes of A 8130") == 1;
        EXPECT_EQ(lost.size(), found.loses_entries + found.loses_first_slot);
        EXPECT_TRUE(lost.empty() || _is_record_unread(on.fake.calls()));
        on.go_on(one);
        tell(found);
    });
}

template <typename Round>
void _sweep(Round round) {
    std::map<std::string, int> outcomes;
    bool met_shortage = true;
    int nth = 1;
    for (; met_shortage && !::testing::Test::HasFailure(); ++nth) {
        const report found = round(nth);
        ASSERT_TRUE(found.is_good) << "allocation " << nth;
        met_shortage = found.met_shortage;
        if (met_shortage) ++outcomes[_outcome(found)];
    }
    ::testing::Test::RecordProperty("points", nth - 2);
    for (const auto& [outcome, count] : outcomes)
        ::testing::Test::RecordProperty("outcome " + outcome, count);
}

TEST_P(allocation, that_gives_null_ends_as_documented) {
    const auto& [one, kind] = GetParam();
    _sweep([&, is_lasting = kind.is_lasting](int nth) {
        return _nothrow_round(std::get<0>(GetParam()), is_lasting, nth);
    });
}

TEST_P(allocation, that_throws_ends_as_documented) {
    const auto& [one, kind] = GetParam();
    throwing_round round(one, kind.is_lasting, 1);
    _sweep([&](int nth) { return round.run(nth); });
}

TEST(silent_losses, happen_when_memory_fails) {
    const std::map<std::string, int> witnesses{
        {"append_to_one_stamp", 1}, {"update_third_of_five", 0}, {"delete_third_of_five", 0}};
    for (const auto& [witness, lost_first_slots] : witnesses) {
        SCOPED_TRACE(witness);
        int entries = 0;
        int first_slots = 0;
        report found;
        found.met_shortage = true;
        for (int nth = 1; found.met_shortage; ++nth) {
            found = _nothrow_round(scenario_named(witness), false, nth);
            ASSERT_TRUE(found.is_good) << "allocation " << nth;
            entries += found.status == 1 && found.loses_entries;
            first_slots += found.status == 1 && found.loses_first_slot;
        }
        EXPECT_EQ(entries, 1);
        EXPECT_EQ(first_slots, lost_first_slots);
    }
}

std::string _name(const ::testing::TestParamInfo<sweep_case>& info) {
    return std::get<0>(info.param).name + "_" + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(plain, allocation,
                         ::testing::Combine(::testing::ValuesIn(plain_scenarios()),
                                            ::testing::ValuesIn(shortages)),
                         _name);
INSTANTIATE_TEST_SUITE_P(sweep, allocation,
                         ::testing::Combine(::testing::ValuesIn(all_scenarios()),
                                            ::testing::ValuesIn(shortages)),
                         _name);

}  // namespace
