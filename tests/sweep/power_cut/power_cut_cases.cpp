#include <iterator>

#include "sweep/power_cut/power_cut.h"

namespace {

const token_state one_stamp{{{8130, "hello"}}};
const token_state three_stamps{{{8130, "first"}, {8131, "second"}, {8132, "third"}}};
const token_state four_stamps{
    {{8130, "first"}, {8131, "second"}, {8132, "third"}, {8133, "fourth"}}};
const token_state five_stamps{
    {{8130, "first"}, {8131, "second"}, {8132, "third"}, {8133, "fourth"}, {8134, "fifth"}}};
const token_state sealed_and_plain{{{8130, "VemraSeal"}, {8131, "plain"}}};
const token_state beside_orphans{{{8131, "kept"}}, {{8130, "an orphan"}, {8132, "another"}}};
const token_state absent_slot{{{8130, ""}}};
const token_state lost_record{{{8131, "kept"}}, {{8130, "an orphan"}}, {8127}};

token_state _beside_an_orphan(const std::string& orphan) {
    return {{{8131, "kept"}}, {{8130, orphan}}};
}

/** Which stamp of a list has its bytes in the slot. */
std::size_t _index_of(const token_state& state, int slot) {
    const auto found = state.stamps.find(static_cast<unsigned int>(slot));
    return static_cast<std::size_t>(std::distance(state.stamps.begin(), found));
}

cut_case _append(const std::string& name, const std::string& title, const token_state& state,
                 int slot) {
    const std::string data = "picture";
    return {"append_" + name,
            title,
            state,
            slot,
            data,
            [=](stamp_library& library, const token& device, const std::vector<seen_stamp>&) {
                library.append(device.serial, device.type, nullptr, {"new", data});
            }};
}

cut_case _update(const std::string& name, const std::string& title, const token_state& state,
                 int slot, const new_stamp& stamp) {
    const std::size_t index = _index_of(state, slot);
    return {"update_" + name,
            title,
            state,
            slot,
            stamp.data,
            [=](stamp_library& library, const token&, const std::vector<seen_stamp>& listed) {
                library.update(listed.at(index).uuid, nullptr, stamp);
            }};
}

cut_case _delete(const std::string& name, const std::string& title, const token_state& state,
                 int slot) {
    const std::size_t index = _index_of(state, slot);
    return {"delete_" + name,
            title,
            state,
            slot,
            "",
            [=](stamp_library& library, const token&, const std::vector<seen_stamp>& listed) {
                library.remove(listed.at(index).uuid, nullptr);
            }};
}

std::vector<cut_case> _appending() {
    return {
        _append("first", "Append to a token without stamps", {}, 8130),
        _append("beside_one", "Append beside one stamp", one_stamp, 8131),
        _append("beside_four", "Append the fifth stamp", four_stamps, 8134),
        _append("beside_sealed", "Append beside a sealed slot", sealed_and_plain, 8132),
        _append("over_larger_orphan", "Append where more bytes without an entry lie",
                _beside_an_orphan("an orphan"), 8130),
        _append("over_equal_orphan", "Append where as many bytes without an entry lie",
                _beside_an_orphan("orphans"), 8130),
        _append("over_smaller_orphan", "Append where fewer bytes without an entry lie",
                _beside_an_orphan("few"), 8130),
        _append("to_full_token", "Append to a full token", five_stamps, 8135),
    };
}

std::vector<cut_case> _updating() {
    return {
        _update("same_size", "Update with as many bytes", one_stamp, 8130, {"renamed", "HELLO"}),
        _update("smaller", "Update with fewer bytes", one_stamp, 8130, {"renamed", "hi"}),
        _update("larger", "Update with more bytes, beside two stamps", three_stamps, 8131,
                {"renamed", "much longer"}),
        _update("again", "Update under a name as long, beside two stamps", three_stamps, 8131,
                {"B2", "2nd try"}),
        _update("one_of_five", "Update one of five stamps", five_stamps, 8132, {"renamed", "3rd"}),
        _update("beside_orphans", "Update beside bytes without an entry", beside_orphans, 8131,
                {"renamed", "replaced"}),
        _update("absent_slot", "Update a stamp whose slot is absent", absent_slot, 8130,
                {"renamed", "back"}),
        _update("sealed", "Update a sealed slot", sealed_and_plain, 8130, {"renamed", "unsealed"}),
        _update("to_sealed", "Update plain bytes to a sealed slot", sealed_and_plain, 8131,
                {"renamed", std::string("VemraSeal\0", 10)}),
        _update("without_record", "Update after the mapping record was lost", lost_record, 8131,
                {"renamed", "replaced"}),
    };
}

std::vector<cut_case> _deleting() {
    return {
        _delete("only", "Delete the only stamp", one_stamp, 8130),
        _delete("one_of_three", "Delete one of three stamps", three_stamps, 8131),
        _delete("one_of_five", "Delete one of five stamps", five_stamps, 8132),
        _delete("beside_orphans", "Delete beside bytes without an entry", beside_orphans, 8131),
        _delete("absent_slot", "Delete a stamp whose slot is absent", absent_slot, 8130),
        _delete("sealed", "Delete a sealed slot", sealed_and_plain, 8130),
        _delete("beside_sealed", "Delete a plain slot beside a sealed one", sealed_and_plain, 8131),
        _delete("without_record", "Delete after the mapping record was lost", lost_record, 8131),
    };
}

}  // namespace

const std::vector<cut_case>& all_cut_cases() {
    static const std::vector<cut_case> all = [] {
        std::vector<cut_case> result;
        for (const auto& part : {_appending(), _updating(), _deleting()})
            result.insert(result.end(), part.begin(), part.end());
        return result;
    }();
    return all;
}
