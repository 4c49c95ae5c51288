// Fails device call 1, then 2, and so on, until a run meets no fault; the failing call tells it, is
// hollow, or throws. In every round the shared object and the model do the same on the same
// devices, and everything that can be seen is compared: status, trace, calls, all slots of all
// devices, handles, memory. Then the devices work again, and the same operation and two lists must
// do what the model says of what was left.
//
// Beside the model stands a judgement without it: no call harms what others stored, with the few
// exceptions that are listed here.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <tuple>

#include "support/child_process.h"
#include "sweep/faults/bystanders.h"
#include "sweep/faults/stage.h"
#include "sweep/live/watched_call.h"

namespace {

struct kind_of_fault {
    const char* name;
    planned_disturbance plan;
};

std::ostream& operator<<(std::ostream& out, const kind_of_fault& kind) {
    return out << kind.name;
}

const kind_of_fault kinds[] = {
    {"transient", {0, disturbance::refused, 17}},
    {"lasting", {0, disturbance::refused, 17, true}},
    {"told_absent", {0, disturbance::refused, -7}},
    {"answer_lost", {0, disturbance::answer_lost, 17}},
    {"null_or_nothing", {0, disturbance::hollow, 17}},
    {"exception", {0, disturbance::thrown, 17}},
    {"lasting_exception", {0, disturbance::thrown, 17, true}},
    {"no_std_exception", {0, disturbance::thrown_number, 17}},
};

/** A call that loses what others stored, and tells success, when it is struck so. */
struct silent_loss {
    const char* kind;
    /** The first call that begins so. */
    const char* call;
    const char* lost;
    /** Scenarios in which it happens. */
    std::vector<std::string> witnesses;
};

const char* const length_of_record = "VemraPKICryptoGetDataLength(A, 8127,";
const char* const reading_of_record = "VemraPKICryptoReadData(A, 8127,";
const char* const writing_of_record = "VemraPKICryptoWriteData(A, 8127,";

const std::vector<std::string> writers{"append_to_one_stamp", "append_to_five_stamps",
                                       "update_third_of_five", "delete_third_of_five"};
const std::vector<std::string> appenders{"append_to_one_stamp", "append_to_five_stamps",
                                         "append_beside_sealed"};

const silent_loss listed_losses[] = {
    {"told_absent", length_of_record, "entries of A", writers},
    {"told_absent", length_of_record, "bytes of A 8130", appenders},
    {"null_or_nothing", length_of_record, "entries of A", writers},
    {"null_or_nothing", length_of_record, "bytes of A 8130", appenders},
    {"null_or_nothing", reading_of_record, "entries of A", writers},
    {"null_or_nothing", reading_of_record, "bytes of A 8130", appenders},
    {"null_or_nothing",
     writing_of_record,
     "entries of A",
     {"append_to_one_stamp", "update_third_of_five", "delete_third_of_five"}},
};

using sweep_case = std::tuple<scenario, kind_of_fault>;

class device_fault : public ::testing::TestWithParam<sweep_case> {};

std::string _outcome(const seen_call& seen) {
    return seen.escaped ? "exception" : std::to_string(seen.status);
}

bool _ends_process(const scenario& one, const planned_disturbance& plan) {
    stage on(1, stage::sides::model);
    one.arrange(on);
    on.disturb(plan);
    return one.act(on.model, on).has_ended;
}

/** The number of the first call that begins so, counted from 1. */
int _first_call(const std::vector<std::string>& calls, const std::string& start) {
    const auto begins_so = [&](const std::string& call) { return call.rfind(start, 0) == 0; };
    const auto found = std::find_if(calls.begin(), calls.end(), begins_so);
    return static_cast<int>(found - calls.begin()) + 1;
}

bool _is_listed(const std::string& lost, const kind_of_fault& kind, int nth,
                const std::vector<std::string>& calls) {
    const auto is_that = [&](const silent_loss& one) {
        return one.lost == lost && one.kind == std::string(kind.name) &&
               _first_call(calls, one.call) == nth;
    };
    return std::any_of(std::begin(listed_losses), std::end(listed_losses), is_that);
}

/** A round that ends its process, in a child. */
void _ending_round(const scenario& one, const planned_disturbance& plan) {
    const child_end end = in_child([&] {
        stage on;
        one.arrange(on);
        on.disturb(plan);
        const bystanders others(on, one.own_slot);
        const seen_call due = one.act(on.model, on);
        watch_end([&](const seen_call& seen) {
            on.expect_same(seen, due);
            EXPECT_EQ(others.lost_bytes(), std::set<std::string>{});
            _exit(::testing::Test::HasFailure() ? 1 : 0);
        });
        one.act(on.live, on);
        ADD_FAILURE() << "the process goes on";
        return std::string();
    });
    EXPECT_EQ(end.status, 0);
}

struct round_end {
    bool has_struck = true;
    std::string outcome = "end of the process";
    std::set<std::string> lost;
};

round_end _round(const scenario& one, const kind_of_fault& kind, int nth) {
    planned_disturbance plan = kind.plan;
    plan.nth = nth;
    if (_ends_process(one, plan)) {
        _ending_round(one, plan);
        return {};
    }
    stage on;
    one.arrange(on);
    on.disturb(plan);
    const bystanders others(on, one.own_slot);
    const seen_call seen = on.compare([&](stamp_library& library) { return one.act(library, on); });
    round_end end{on.has_struck(), _outcome(seen), others.losses_untold_by(seen)};
    for (const std::string& lost : end.lost)
        EXPECT_TRUE(_is_listed(lost, kind, nth, on.fake.calls())) << lost;
    on.compare_memory();
    on.go_on(one);
    return end;
}

TEST_P(device_fault, at_every_call_ends_as_documented) {
    const auto& [one, kind] = GetParam();
    std::map<std::string, int> outcomes;
    bool has_struck = true;
    int nth = 1;
    for (; has_struck && !HasFailure(); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth));
        const round_end end = _round(one, kind, nth);
        has_struck = end.has_struck;
        if (has_struck) ++outcomes[end.outcome];
    }
    RecordProperty("points", nth - 2);
    for (const auto& [outcome, count] : outcomes)
        RecordProperty("outcome " + outcome, count);
}

/** The calls of a scenario that nothing disturbs. */
std::vector<std::string> _calls_of(const scenario& one) {
    stage on(1, stage::sides::model);
    one.arrange(on);
    on.disturb({});
    one.act(on.model, on);
    return on.devices.calls;
}

TEST(silent_losses, happen_when_a_device_answers_wrongly) {
    for (const silent_loss& loss : listed_losses) {
        const auto* kind = std::find_if(
            std::begin(kinds), std::end(kinds),
            [&](const kind_of_fault& each) { return each.name == std::string(loss.kind); });
        for (const std::string& witness : loss.witnesses) {
            SCOPED_TRACE(witness + ", " + loss.kind + ", " + loss.call);
            const scenario& one = scenario_named(witness);
            const round_end end = _round(one, *kind, _first_call(_calls_of(one), loss.call));
            EXPECT_EQ(end.outcome, "1");
            EXPECT_EQ(end.lost.count(loss.lost), 1U);
        }
    }
}

std::string _name(const ::testing::TestParamInfo<sweep_case>& info) {
    return std::get<0>(info.param).name + "_" + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(sweep, device_fault,
                         ::testing::Combine(::testing::ValuesIn(all_scenarios()),
                                            ::testing::ValuesIn(kinds)),
                         _name);

}  // namespace
