// Each call that changes a slot may have to wait for another process, and may then be refused. How
// many of them one operation makes at most, whichever are refused.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "model/reference_mapping.h"
#include "support/fake_device_library.h"
#include "sweep/crowd/plain_calls.h"

namespace {

struct waiting_case {
    std::string name;
    std::map<int, std::string> slots;
    std::function<void(const token&, const std::vector<seen_stamp>&)> act;
    /** At most, and when all of them are refused. */
    std::size_t most;
    std::size_t refused;
};

std::ostream& operator<<(std::ostream& out, const waiting_case& one) {
    return out << one.name;
}

bool _changes_a_slot(const std::string& call) {
    const auto begins_with = [&](const char* function) { return call.rfind(function, 0) == 0; };
    return begins_with("VemraPKICryptoCreateData") || begins_with("VemraPKICryptoWriteData") ||
           begins_with("VemraPKICryptoDeleteData");
}

/** The numbers of the operation's changing calls when calls of these numbers are refused. */
std::vector<int> _changing_calls(const waiting_case& one, const std::vector<int>& refused) {
    const token device = make_tokens(1).front();
    fake_device_library fake;
    fake.add_device(device.serial, device.type);
    for (const auto& [slot, bytes] : one.slots)
        fake.fill_slot(slot, bytes);
    const std::vector<seen_stamp> listed = listed_stamps(device);
    fake.clear_calls();
    for (const int number : refused)
        fake.fail_call(number);
    one.act(device, listed);

    std::vector<int> result;
    const std::vector<std::string> calls = fake.calls();
    for (std::size_t i = 0; i < calls.size(); ++i)
        if (_changes_a_slot(calls[i])) result.push_back(static_cast<int>(i) + 1);
    return result;
}

/** The most changing calls when these and any later ones are refused. */
std::size_t _most_calls(const waiting_case& one, const std::vector<int>& refused) {
    const std::vector<int> calls = _changing_calls(one, refused);
    std::size_t most = calls.size();
    for (const int number : calls) {
        if (!refused.empty() && number <= refused.back()) continue;
        std::vector<int> more = refused;
        more.push_back(number);
        most = std::max(most, _most_calls(one, more));
    }
    return most;
}

std::size_t _calls_when_all_are_refused(const waiting_case& one) {
    std::vector<int> refused;
    for (;;) {
        const std::vector<int> calls = _changing_calls(one, refused);
        if (calls.size() == refused.size()) return calls.size();
        refused.push_back(calls[refused.size()]);
    }
}

class waits : public ::testing::TestWithParam<waiting_case> {};

TEST_P(waits, are_no_more_than_the_changing_calls) {
    EXPECT_EQ(_most_calls(GetParam(), {}), GetParam().most);
    EXPECT_EQ(_calls_when_all_are_refused(GetParam()), GetParam().refused);
}

auto _append(const std::string& data) {
    return [=](const token& device, const std::vector<seen_stamp>&) {
        append_stamp(device, {"new", data});
    };
}

auto _update(const new_stamp& stamp) {
    return [=](const token&, const std::vector<seen_stamp>& listed) {
        update_stamp(listed.at(0).uuid, stamp);
    };
}

void _delete(const token&, const std::vector<seen_stamp>& listed) {
    delete_stamp(listed.at(0).uuid);
}

const std::map<int, std::string> one_stamp{{8127, reference_mapping::write({{8130, "A1"}})},
                                           {8130, "first"}};
const std::map<int, std::string> two_stamps{
    {8127, reference_mapping::write({{8130, "A1"}, {8131, "A2"}})},
    {8130, "first"},
    {8131, "second"}};
const std::map<int, std::string> one_stamp_and_an_orphan{
    {8127, reference_mapping::write({{8130, "A1"}})}, {8130, "first"}, {8131, "an orphan"}};

INSTANTIATE_TEST_SUITE_P(
    sweep, waits,
    ::testing::Values(
        waiting_case{"append_first", {}, _append("picture"), 7, 2},
        waiting_case{"append_beside_one", one_stamp, _append("picture"), 9, 2},
        waiting_case{"append_over_orphan", one_stamp_and_an_orphan, _append("picture"), 10, 1},
        waiting_case{"append_in_place", one_stamp_and_an_orphan, _append("9 letters"), 8, 2},
        waiting_case{"update_same_size", one_stamp, _update({"A2", "other"}), 6, 2},
        waiting_case{"update_larger", one_stamp, _update({"renamed", "much longer"}), 10, 1},
        waiting_case{"delete_only", one_stamp, _delete, 7, 1},
        waiting_case{"delete_one_of_two", two_stamps, _delete, 7, 1}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    discard_trace();
    return RUN_ALL_TESTS();
}
