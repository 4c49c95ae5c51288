// Ends the process before and after every device call of a writing operation, and inside every
// write. The token's files are sound then. A new process lists the software token, and appends to
// it once more; both must find what the model says. What is found is the table in
// docs/measured/power-cut.md.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "support/child_process.h"
#include "sweep/gate/device_gate.h"
#include "sweep/live/live_library.h"
#include "sweep/power_cut/power_cut_table.h"
#include "sweep/raw_slots.h"
#include "sweep/saved_tokens.h"

namespace {

using device_gate::moment;

constexpr int cut_status = 42;

std::map<std::string, std::string> sections;

/** Lets only the first bytes of a write arrive. */
void _tear(const device_gate::call& write, int arrived) {
    std::string bytes = raw_slots().at(write.slot);
    const auto count = static_cast<std::size_t>(arrived);
    bytes.replace(0, count, static_cast<const char*>(write.data), count);
    VemraPKICryptoWriteData(write.device, write.slot, bytes.data(), write.length);
}

/** Does the operation until the cut; the process ends there. */
std::string _operate(const cut_case& one, const token& device, const cut_point& cut) {
    live_library library;
    const std::vector<seen_stamp> listed = library.list().stamps;
    erase_raw_slots(one.state.lost);
    int count = 0;
    device_gate::watch([&](const device_gate::call& passing, moment when) {
        if (when == moment::before) ++count;
        if (count != cut.nth || (when == moment::after) != cut.is_after) return;
        if (cut.torn_bytes != 0) _tear(passing, cut.torn_bytes);
        _exit(cut_status);
    });
    one.act(library, device, listed);
    device_gate::watch({});
    return "whole";
}

std::vector<std::string> _without_uuids(const std::vector<std::string>& lines) {
    std::vector<std::string> result;
    for (const std::string& line : lines)
        if (line.find("] uuid: ") == std::string::npos) result.push_back(line);
    return result;
}

std::vector<std::pair<std::string, std::string>> _pairs(const std::vector<seen_stamp>& stamps) {
    std::vector<std::pair<std::string, std::string>> result;
    for (const seen_stamp& stamp : stamps)
        result.emplace_back(stamp.name, stamp.data);
    return result;
}

std::vector<std::string> _complaints(const std::vector<std::string>& lines) {
    std::vector<std::string> result;
    for (const std::string& line : lines) {
        if (line.find("[ERROR]") == std::string::npos) continue;
        const std::size_t begin = line.find("] ", line.find('[', 2)) + 2;
        result.push_back(line.substr(begin, line.rfind(" (src/") - begin));
    }
    return result;
}

/** Whether the mapping record is one of the two that the operation reads and writes. */
bool _has_whole_record(const std::map<int, std::string>& slots,
                       const std::set<std::string>& whole) {
    const auto record = slots.find(8127);
    return whole.count(record == slots.end() ? std::string() : record->second) != 0;
}

/** Stamps that the call does not name are listed, or at least still in their slots. */
void _expect_nothing_lost(const cut_case& one, const found_state& found, bool has_whole_record) {
    const auto listed = _pairs(found.listed);
    int number = 0;
    for (const auto& [slot, bytes] : one.state.stamps) {
        const std::string name = "A" + std::to_string(++number);
        if (static_cast<int>(slot) == one.slot) continue;
        EXPECT_EQ(found.slots.at(static_cast<int>(slot)), bytes);
        if (!has_whole_record) continue;
        EXPECT_EQ(std::count(listed.begin(), listed.end(), std::make_pair(name, bytes)), 1) << name;
    }
}

/** Looks at the token in a new process; gives the row of the table. */
std::string _inspect(const cut_case& one, const token& device, const cut_outcome& due,
                     bool has_whole_record) {
    const std::map<int, std::string> slots = raw_slots();
    EXPECT_EQ(slots, due.slots);
    live_library library;
    const seen_call seen = library.list();
    EXPECT_EQ(seen.status, due.list.status);
    EXPECT_EQ(_without_uuids(seen.lines), _without_uuids(due.list.lines));
    EXPECT_EQ(_pairs(seen.stamps), _pairs(due.list.stamps));
    const int status = library.append(device.serial, device.type, nullptr, later_stamp()).status;
    EXPECT_EQ(status, due.append_status);
    const found_state found{slots, seen.stamps, _complaints(seen.lines), status, raw_slots()};
    EXPECT_EQ(found.slots_after_append, due.slots_after_append);
    _expect_nothing_lost(one, found, has_whole_record);
    return table_cells(one, found);
}

std::vector<cut_point> _points(const std::vector<std::string>& calls) {
    std::vector<cut_point> points;
    for (int nth = 1; nth <= static_cast<int>(calls.size()); ++nth) {
        points.push_back({nth, false, 0});
        const int length = written_length(calls[static_cast<std::size_t>(nth) - 1]);
        for (const int arrived : std::set<int>{1, 5, length / 2, length - 1})
            if (arrived > 0 && arrived < length) points.push_back({nth, false, arrived});
        points.push_back({nth, true, 0});
    }
    return points;
}

std::string _text_of(const char* file) {
    std::ifstream document(file);
    std::stringstream text;
    text << document.rdbuf();
    return text.str();
}

class power_cut : public ::testing::TestWithParam<cut_case> {};

TEST_P(power_cut, at_every_call_leaves_what_the_document_tells) {
    const cut_case& one = GetParam();
    const token device = make_tokens(1).front();
    ASSERT_EQ(in_child([&] {
                  fill_raw_slots(listed_slots(one.state));
                  return std::string();
              }).status,
              0);
    const saved_tokens saved;
    const std::vector<cut_point> points = _points(all_calls(one, device));
    const auto last = model_outcome(one, device, points.back());
    std::set<std::string> whole_records{last.slots.at(8127)};
    const auto before = slots_of(one.state);
    whole_records.insert(before.count(8127) == 0 ? std::string() : before.at(8127));

    power_cut_table table(one);
    for (const cut_point& cut : points) {
        SCOPED_TRACE("call " + std::to_string(cut.nth) + (cut.is_after ? " after" : " before") +
                     ", torn after " + std::to_string(cut.torn_bytes));
        saved.restore();
        ASSERT_EQ(in_child([&] { return _operate(one, device, cut); }).status, cut_status);
        ASSERT_EQ(unsound_files(), "");
        const cut_outcome due = model_outcome(one, device, cut);
        const bool has_whole_record = _has_whole_record(due.slots, whole_records);
        const child_end seen =
            in_child([&] { return _inspect(one, device, due, has_whole_record); });
        ASSERT_EQ(seen.status, 0);
        table.add(cut, due.last_change, seen.told);
    }
    RecordProperty("points", static_cast<int>(points.size()));
    sections[one.name] = table.text();
    EXPECT_EQ(section_of(_text_of(POWER_CUT_DOCUMENT), one), table.text());
}

std::string _name(const ::testing::TestParamInfo<cut_case>& tested) {
    return tested.param.name;
}

INSTANTIATE_TEST_SUITE_P(sweep, power_cut, ::testing::ValuesIn(all_cut_cases()), _name);

}  // namespace

std::ostream& operator<<(std::ostream& out, const cut_case& one) {
    return out << one.name;
}

// With --write FILE the sections replace those of the document.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    if (argc == 3 && std::string(argv[1]) == "--write") {
        std::string text = _text_of(argv[2]);
        text.erase(std::min(text.find(section_begin(all_cut_cases().front())), text.size()));
        for (const cut_case& one : all_cut_cases())
            text += "\n" + sections[one.name];
        std::ofstream(argv[2]) << text;
    }
    return status;
}
