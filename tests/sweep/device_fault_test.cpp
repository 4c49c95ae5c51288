// Fails device call 1, then 2, and so on, until a run meets no fault; the failing call tells it, is
// hollow, or throws. In every round the shared object and the model do the same on the same
// devices, and everything that can be seen is compared: status, trace, calls, all slots of all
// devices, handles, memory. Then the devices work again, and the same operation and two lists must
// do what the model says of what was left.

#include <gtest/gtest.h>
#include <unistd.h>

#include <iostream>
#include <map>

#include "sweep/child_process.h"
#include "sweep/stage.h"
#include "sweep/watched_call.h"

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
    {"lasting", {0, disturbance::refused_for_good, 17}},
    {"told_absent", {0, disturbance::refused, -7}},
    {"answer_lost", {0, disturbance::answer_lost, 17}},
    {"null_or_nothing", {0, disturbance::hollow, 17}},
    {"exception", {0, disturbance::thrown, 17}},
    {"lasting_exception", {0, disturbance::thrown_for_good, 17}},
    {"no_std_exception", {0, disturbance::thrown_number, 17}},
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

/** A round that ends its process, in a child. */
void _ending_round(const scenario& one, const planned_disturbance& plan) {
    const child_end end = in_child([&] {
        stage on;
        one.arrange(on);
        on.disturb(plan);
        const seen_call due = one.act(on.model, on);
        watch_end([&](const seen_call& seen) {
            on.expect_same(seen, due);
            _exit(::testing::Test::HasFailure() ? 1 : 0);
        });
        one.act(on.live, on);
        ADD_FAILURE() << "the process goes on";
        return std::string();
    });
    EXPECT_EQ(end.status, 0);
}

/** One round; tells whether the fault struck. */
bool _round(const scenario& one, const planned_disturbance& plan,
            std::map<std::string, int>& outcomes) {
    if (_ends_process(one, plan)) {
        ++outcomes["end of the process"];
        _ending_round(one, plan);
        return true;
    }
    stage on;
    one.arrange(on);
    on.disturb(plan);
    const auto act = [&](stamp_library& library) { return one.act(library, on); };
    const seen_call seen = on.compare(act);
    const bool has_struck = on.has_struck();
    if (has_struck) ++outcomes[_outcome(seen)];
    on.compare_memory();

    const auto list = [](stamp_library& library) { return library.list(); };
    on.disturb({});
    on.compare(list);
    on.disturb({});
    on.compare(act);
    on.disturb({});
    on.compare(list);
    on.compare_memory();
    return has_struck;
}

TEST_P(device_fault, at_every_call_ends_as_documented) {
    const auto& [one, kind] = GetParam();
    std::map<std::string, int> outcomes;
    planned_disturbance plan = kind.plan;
    bool has_struck = true;
    for (plan.nth = 1; has_struck && !HasFailure(); ++plan.nth) {
        SCOPED_TRACE("call " + std::to_string(plan.nth));
        has_struck = _round(one, plan, outcomes);
    }
    RecordProperty("points", plan.nth - 2);
    for (const auto& [outcome, count] : outcomes)
        RecordProperty("outcome " + outcome, count);
}

std::string _name(const ::testing::TestParamInfo<sweep_case>& info) {
    return std::get<0>(info.param).name + "_" + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(sweep, device_fault,
                         ::testing::Combine(::testing::ValuesIn(all_scenarios()),
                                            ::testing::ValuesIn(kinds)),
                         _name);

}  // namespace
