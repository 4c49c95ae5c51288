#include "sweep/power_cut/power_cut_table.h"

#include <iterator>

#include "model/reference_mapping.h"

namespace {

bool _is_zero(const std::string& bytes) {
    return bytes.find_first_not_of('\0') == std::string::npos;
}

std::string _bytes_in_words(const std::string& bytes, const std::string& old_bytes,
                            const std::string& new_bytes) {
    if (bytes.empty()) return "empty";
    if (bytes == old_bytes) return "old bytes";
    if (bytes == new_bytes) return "new bytes";
    if (_is_zero(bytes)) return "zero bytes";
    return "torn";
}

std::string _value(const std::map<int, std::string>& slots, int slot) {
    const auto found = slots.find(slot);
    return found == slots.end() ? std::string() : found->second;
}

std::string _slot_in_words(const std::map<int, std::string>& slots, int slot,
                           const std::string& old_bytes, const std::string& new_bytes) {
    if (slots.count(slot) == 0) return "absent";
    return _bytes_in_words(_value(slots, slot), old_bytes, new_bytes);
}

std::string _record_in_words(const cut_case& one, const std::map<int, std::string>& slots) {
    const auto found = slots.find(8127);
    if (found == slots.end()) return "absent";
    if (found->second == _value(slots_of(one.state), 8127)) return "old record";
    if (_is_zero(found->second)) return "zero bytes";
    const reference_mapping::reading record = reference_mapping::read(found->second);
    const bool is_whole =
        record.reports.empty() && found->second == reference_mapping::write(record.stamps);
    return is_whole ? "new record" : "torn";
}

std::string _stamp_in_words(const cut_case& one, const seen_stamp& stamp) {
    const std::map<int, std::string> before = slots_of(one.state);
    for (const auto& [slot, bytes] : before) {
        if (slot != one.slot && bytes == stamp.data) return "`" + stamp.name + "` whole";
    }
    return "`" + stamp.name + "` " +
           _bytes_in_words(stamp.data, _value(before, one.slot), one.new_data);
}

std::string _list_in_words(const cut_case& one, const found_state& found) {
    std::string text;
    for (const seen_stamp& stamp : found.listed)
        text += (text.empty() ? "" : ", ") + _stamp_in_words(one, stamp);
    if (text.empty()) text = "nothing";
    for (const std::string& complaint : found.complaints)
        text += "; logs \"" + complaint + "\"";
    return text;
}

/** What lies in a slot before the later append takes it. */
std::string _victim_in_words(const cut_case& one, const found_state& found, int slot) {
    const std::string bytes = _value(found.slots, slot);
    if (slot == one.slot) {
        return _bytes_in_words(bytes, _value(slots_of(one.state), slot), one.new_data);
    }
    const auto stamp = one.state.stamps.find(static_cast<unsigned int>(slot));
    if (stamp == one.state.stamps.end()) return "an orphan";
    return "`A" + std::to_string(std::distance(one.state.stamps.begin(), stamp) + 1) + "`";
}

std::string _append_in_words(const cut_case& one, const found_state& found) {
    if (found.append_status != 1) return "none, status " + std::to_string(found.append_status);
    for (const auto& [slot, bytes] : found.slots_after_append) {
        if (bytes != later_stamp().data) continue;
        const std::string taken = std::to_string(slot);
        if (found.slots.count(slot) == 0) return taken;
        return taken + ", over " + _victim_in_words(one, found, slot);
    }
    return "none";
}

}  // namespace

std::string table_cells(const cut_case& one, const found_state& found) {
    return _record_in_words(one, found.slots) + " | " +
           _slot_in_words(found.slots, one.slot, _value(slots_of(one.state), one.slot),
                          one.new_data) +
           " | " + _list_in_words(one, found) + " | " + _append_in_words(one, found);
}

void power_cut_table::add(const cut_point& cut, const std::string& last_change,
                          const std::string& cells) {
    const bool is_same =
        !rows_.empty() && rows_.back().last_change == last_change && rows_.back().cells == cells;
    if (!is_same) rows_.push_back({last_change, cells, 0, {}});
    ++rows_.back().points;
    if (cut.torn_bytes != 0) rows_.back().arrived.push_back(cut.torn_bytes);
}

std::string power_cut_table::text() const {
    std::string text =
        section_begin(one_).substr(1) + "\n| Last change | Points | Slot 8127 | Slot " +
        std::to_string(one_.slot) +
        " | A new process lists | A later append takes |\n|---|---|---|---|---|---|\n";
    for (const row& each : rows_) {
        std::string arrived;
        for (const int bytes : each.arrived)
            arrived += (arrived.empty() ? ": the first " : ", ") + std::to_string(bytes);
        text += "| " + (each.last_change.empty() ? "none" : each.last_change) + arrived + " | " +
                std::to_string(each.points) + " | " + each.cells + " |\n";
    }
    return text;
}

std::string section_begin(const cut_case& one) {
    return "\n## " + one.title + "\n";
}

std::string section_of(const std::string& document, const cut_case& one) {
    const std::size_t begin = document.find(section_begin(one));
    if (begin == std::string::npos) return {};
    const std::size_t end = document.find("\n## ", begin + 1);
    return document.substr(begin + 1, end == std::string::npos ? end : end - begin - 1);
}
