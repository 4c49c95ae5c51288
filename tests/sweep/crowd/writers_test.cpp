// Two writers on one token. Before every device call of the one the other, another process, does
// its whole operation. The token's files stay sound, the slots are what the model says, and the
// tables tell what the writers lose of each other.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "model/reference_mapping.h"
#include "support/child_process.h"
#include "sweep/crowd/meeting.h"
#include "sweep/raw_slots.h"
#include "sweep/saved_tokens.h"

namespace {

const slot_bytes slots_before{
    {8127, reference_mapping::write({{8130, "A1"}, {8131, "A2"}, {8132, "A3"}})},
    {8130, "first"},
    {8131, "second"},
    {8132, "third"}};
// The first writer may name A2, the visitor A2 or A3; nobody names A1.
const new_stamp mine{"mine", "my picture"};
const new_stamp theirs{"theirs", "their picture!"};

/* How a meeting may end. All but the first two are losses. */
using endings = std::set<std::string>;
const char* const in_turn = "as if one had worked after the other";
const char* const refused = "the first has changed nothing";
const char* const half_done = "the first has done a part";
const char* const name_undone = "the visitor's name is gone";
const char* const exchanged = "a name stands over the bytes of another stamp";
const char* const no_bytes = "an entry stands over an absent or empty slot";
const char* const third_destroyed = "a stamp that nobody named is overwritten";
const char* const no_names = "slot 8127 is absent";

struct pair_of_writers {
    std::string name;
    writer first;
    writer visitor;
    bool visitor_brings_a_name;
    /** Endings when both are told success, and when the first is told a failure. */
    endings silent;
    endings told;
};

std::ostream& operator<<(std::ostream& out, const pair_of_writers& pair) {
    return out << pair.name;
}

bool _lists(const meeting& met, const std::string& name) {
    return std::any_of(met.listed.begin(), met.listed.end(),
                       [&](const auto& stamp) { return stamp.first == name; });
}

/** Whether bytes may stand under a name: its own, or those of an update that kept the name. */
bool _belong(const std::string& name, const std::string& bytes) {
    static const std::map<std::string, endings> own{{"A1", {"first"}},
                                                    {"A2", {"second", mine.data, theirs.data}},
                                                    {"A3", {"third", theirs.data}},
                                                    {mine.name, {mine.data}},
                                                    {theirs.name, {theirs.data}}};
    return own.at(name).count(bytes) != 0;
}

endings _losses(const pair_of_writers& pair, const meeting& met) {
    if (met.slots.count(8127) == 0) return {no_names};
    endings result;
    if (met.slots.at(8130) != "first") result.insert(third_destroyed);
    for (const auto& [name, bytes] : met.listed) {
        if (bytes.empty()) {
            result.insert(no_bytes);
        } else if (name != "A1" && !_belong(name, bytes)) {
            result.insert(exchanged);
        }
    }
    if (pair.visitor_brings_a_name && !_lists(met, theirs.name)) result.insert(name_undone);
    if (result.empty()) result.insert(half_done);
    return result;
}

endings _endings(const token& device, const pair_of_writers& pair, const meeting& met) {
    const auto is_as_in_turn = [&](const std::vector<writer>& order) {
        return met.slots == slots_in_turn(device, slots_before, order);
    };
    if (met.status == 0) {
        return is_as_in_turn({pair.visitor}) ? endings{refused} : _losses(pair, met);
    }
    const bool is_sound =
        is_as_in_turn({pair.first, pair.visitor}) || is_as_in_turn({pair.visitor, pair.first});
    return is_sound ? endings{in_turn} : _losses(pair, met);
}

/** A token that is filled in a process of its own, again for each meeting. */
class filled_token {
public:
    const token& device() const { return device_; }

    meeting due(const writer& first, const writer& visitor, int nth) const {
        return model_meeting(device_, slots_before, first, visitor, nth);
    }
    /** The same meeting on the token, whose files are then sound. */
    void expect(const meeting& due, const writer& first, const writer& visitor, int nth) const {
        saved_.restore();
        const child_end seen = in_child([&] {
            const meeting met = live_meeting(device_, first, visitor, nth);
            EXPECT_EQ(met.status, due.status);
            EXPECT_EQ(met.visitor_status, due.visitor_status);
            EXPECT_EQ(met.slots, due.slots);
            EXPECT_EQ(met.listed, due.listed);
            return std::string();
        });
        ASSERT_EQ(seen.status, 0);
        ASSERT_EQ(unsound_files(), "");
    }

private:
    static token fill() {
        const token device = make_tokens(1).front();
        const child_end filled = in_child([] {
            fill_raw_slots(slots_before);
            return std::string();
        });
        EXPECT_EQ(filled.status, 0);
        return device;
    }

    const token device_ = fill();
    const saved_tokens saved_;
};

class several_writers : public ::testing::TestWithParam<pair_of_writers> {};

TEST_P(several_writers, lose_of_each_other_what_the_table_tells) {
    const pair_of_writers& pair = GetParam();
    const filled_token filled;
    endings silent;
    endings told;
    int nth = 1;
    for (; !HasFatalFailure(); ++nth) {
        SCOPED_TRACE("before call " + std::to_string(nth));
        const meeting due = filled.due(pair.first, pair.visitor, nth);
        if (due.call.empty()) break;
        filled.expect(due, pair.first, pair.visitor, nth);
        // Whatever is lost, the visitor is told success.
        EXPECT_EQ(due.visitor_status, 1);
        (due.status == 1 ? silent : told).merge(_endings(filled.device(), pair, due));
    }
    EXPECT_EQ(silent, pair.silent);
    EXPECT_EQ(told, pair.told);
    RecordProperty("meetings", nth - 1);
}

std::vector<pair_of_writers> _visited_appends() {
    return {{"append_visited_by_append",
             appending(mine),
             appending(theirs),
             true,
             {in_turn, name_undone, exchanged},
             {refused, name_undone, no_bytes, third_destroyed, no_names}},
            {"append_visited_by_update",
             appending(mine),
             updating(1, theirs),
             true,
             {in_turn, name_undone},
             {refused, half_done, name_undone, no_names}},
            {"append_visited_by_delete",
             appending(mine),
             deleting(1),
             false,
             {in_turn, no_bytes},
             {no_bytes, no_names}}};
}

std::vector<pair_of_writers> _visited_updates() {
    return {{"update_visited_by_append",
             updating(1, mine),
             appending(theirs),
             true,
             {in_turn, name_undone},
             {refused, half_done, name_undone, third_destroyed, no_names}},
            {"update_visited_by_update_of_another",
             updating(1, mine),
             updating(2, theirs),
             true,
             {in_turn, name_undone},
             {refused, half_done, name_undone, no_names}},
            {"update_visited_by_update_of_the_same",
             updating(1, mine),
             updating(1, theirs),
             true,
             {in_turn, name_undone, exchanged},
             {refused, name_undone, exchanged, no_bytes, no_names}},
            {"update_visited_by_delete_of_another",
             updating(1, mine),
             deleting(2),
             false,
             {in_turn, no_bytes},
             {no_bytes, no_names}},
            {"update_visited_by_delete_of_the_same",
             updating(1, mine),
             deleting(1),
             false,
             {in_turn, no_bytes},
             {refused, half_done, no_bytes, no_names}}};
}

std::vector<pair_of_writers> _visited_deletes() {
    return {{"delete_visited_by_append",
             deleting(1),
             appending(theirs),
             true,
             {in_turn, name_undone, no_bytes},
             {refused, name_undone, third_destroyed, no_names}},
            {"delete_visited_by_update_of_another",
             deleting(1),
             updating(2, theirs),
             true,
             {in_turn, name_undone},
             {refused, name_undone, no_names}},
            {"delete_visited_by_update_of_the_same",
             deleting(1),
             updating(1, theirs),
             true,
             {in_turn, no_bytes},
             {refused, name_undone, no_names}},
            {"delete_visited_by_delete_of_another",
             deleting(1),
             deleting(2),
             false,
             {in_turn, no_bytes},
             {no_bytes, no_names}},
            {"delete_visited_by_delete_of_the_same",
             deleting(1),
             deleting(1),
             false,
             {in_turn},
             {refused, no_bytes, no_names}}};
}

std::vector<pair_of_writers> _all_pairs() {
    std::vector<pair_of_writers> all = _visited_appends();
    for (const auto& pairs : {_visited_updates(), _visited_deletes()})
        all.insert(all.end(), pairs.begin(), pairs.end());
    return all;
}

INSTANTIATE_TEST_SUITE_P(sweep, several_writers, ::testing::ValuesIn(_all_pairs()),
                         [](const auto& tested) { return tested.param.name; });

/** A writer visited by an append, each time that it reads slot 8127 at the length it was told. */
void _expect_failures_at_reads_of_the_record(const writer& first, int own_slot) {
    const filled_token filled;
    const writer visitor = appending(theirs);
    const slot_bytes visited = slots_in_turn(filled.device(), slots_before, {visitor});
    int reads = 0;
    for (int nth = 1; !::testing::Test::HasFatalFailure(); ++nth) {
        meeting due = filled.due(first, visitor, nth);
        if (due.call.empty()) break;
        if (due.call.rfind("VemraPKICryptoReadData(T, 8127", 0) != 0) continue;
        filled.expect(due, first, visitor, nth);
        EXPECT_EQ(due.status, 0);
        // Before the second reading the stamp was stored.
        if (++reads == 2 && own_slot != 0) due.slots[own_slot] = visited.at(own_slot);
        EXPECT_EQ(due.slots, visited);
    }
    EXPECT_EQ(reads, 2);
}

TEST(writers_at_once, append_that_reads_a_larger_record_fails_and_leaves_the_record) {
    _expect_failures_at_reads_of_the_record(appending(mine), 8133);
}

TEST(writers_at_once, update_that_reads_a_larger_record_fails_and_leaves_the_record) {
    _expect_failures_at_reads_of_the_record(updating(1, mine), 8131);
}

TEST(writers_at_once, delete_that_reads_a_larger_record_fails_and_changes_nothing) {
    _expect_failures_at_reads_of_the_record(deleting(1), 0);
}

}  // namespace
