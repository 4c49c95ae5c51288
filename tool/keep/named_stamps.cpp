#include "keep/named_stamps.h"

#include <algorithm>
#include <utility>

#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/listing.h"
#include "keep/mapping_record.h"
#include "keep/read_locks.h"
#include "keep/selector.h"
#include "keep/slot_length.h"

namespace vemra::tool {

namespace {

void _add(std::vector<std::string>& errors, const std::vector<std::string>& more) {
    errors.insert(errors.end(), more.begin(), more.end());
}

void _read_list(session& tokens, const device_id& device, held_names& held) {
    const mapping_record record = read_mapping(tokens, device);
    _add(held.errors, record.faults);
    for (const auto& [number, name] : record.entries) {
        if (!is_stamp_slot(number)) {
            held.errors.push_back(describe_misplaced(number, name));
            continue;
        }
        const int slot = static_cast<int>(number);
        held.stamps.push_back(
            {tokens.ask([&](token_reader& all) { return all.uuid_of(device, slot); }, device), name,
             device, slot});
        _add(held.errors, tokens.errors());
    }
}

held_names _read_lists(session& tokens, const std::vector<device_id>& devices) {
    held_names held;
    for (const device_id& device : devices) {
        try {
            _read_list(tokens, device, held);
        } catch (const failure& error) {
            held.errors.push_back(describe_unreadable(device, error.facts().cause));
            held.unknown.push_back(device);
        }
    }
    return held;
}

held_names _read_to_select(session& tokens, const std::vector<device_id>& devices) {
    held_names held = _read_lists(tokens, devices);
    for (const std::string& error : held.errors) {
        tokens.served().warn(printable(error));
    }
    return held;
}

void _remember_lengths(session& tokens, const device_id& device,
                       const std::vector<named_stamp>& stamps) {
    if (tokens.remembered_lengths(device) != nullptr) return;
    std::vector<int> slots;
    for (const named_stamp& one : stamps) {
        if (one.device == device) slots.push_back(one.slot);
    }
    look_up_lengths(tokens, device, slots);
}

}  // namespace

held_names list_names(session& tokens, const device_choice& choice) {
    const std::vector<device_id> meant = tokens.find_devices(choice);
    const read_locks locks(tokens, meant);
    return _read_lists(tokens, meant);
}

stamp read_selected(session& tokens, const std::string& selector) {
    const std::vector<device_id> devices = tokens.find_devices({});
    const read_locks locks(tokens, devices);
    const held_names held = _read_to_select(tokens, devices);
    const named_stamp& selected = select_stamp(held.stamps, held.unknown, selector);
    const auto shown = show_reading(tokens, selected, "reading " + quoted(selected.name));
    stamp one = read_stamp(tokens, selected);
    require_bytes(one);
    return one;
}

selected_names select_for_change(session& tokens, const std::vector<std::string>& selectors) {
    const std::vector<device_id> devices = tokens.find_devices({});
    const read_locks locks(tokens, devices);
    const held_names held = _read_to_select(tokens, devices);
    selected_names selected{held.stamps, {}};
    for (const std::string& selector : selectors) {
        const named_stamp& one = select_stamp(held.stamps, held.unknown, selector);
        const bool is_known =
            std::any_of(selected.chosen.begin(), selected.chosen.end(),
                        [&](const named_stamp& other) { return is_same_place(one, other); });
        if (is_known) continue;
        selected.chosen.push_back({one, length_of(tokens, one)});
        _remember_lengths(tokens, one.device, selected.all);
    }
    return selected;
}

}  // namespace vemra::tool
