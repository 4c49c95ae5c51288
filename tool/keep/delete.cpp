#include "keep/delete.h"

#include <algorithm>
#include <utility>

#include "basics/text.h"
#include "keep/after_changes.h"
#include "keep/authorised_change.h"
#include "keep/forecast.h"
#include "keep/listing.h"
#include "keep/named_stamps.h"
#include "keep/slot_length.h"

namespace vemra::tool {

namespace {

// The stamp as it is by now, if it is still the one that was selected.
const stamp& _as_selected(locked_device& device, const selected_stamp& selected) {
    for (const stamp& one : device.stamps()) {
        if (is_same_place(one, selected) && one.name == selected.name &&
            length_of(device.tokens(), one) == selected.length) {
            return one;
        }
    }
    throw failure(exit_code::no_stamp, quoted(selected.name) + " is not there any more");
}

void _require_deletable(const std::vector<stamp>& held, const device_id& device,
                        const std::vector<stamp>& removed) {
    const bool is_any_readable = std::any_of(removed.begin(), removed.end(),
                                             [](const stamp& one) { return one.is_readable(); });
    if (is_any_readable) require_readable(held, device, removed);
}

std::vector<change_sizes> _sizes_of(const std::vector<selected_stamp>& selected) {
    std::vector<change_sizes> sizes;
    for (const selected_stamp& one : selected) {
        sizes.push_back({static_cast<std::size_t>(one.length.value_or(0)), 0});
    }
    return sizes;
}

// What cannot be read goes first: before that nothing else is written.
std::vector<stamp> _in_order(locked_device& device, const std::vector<selected_stamp>& selected) {
    std::vector<stamp> removed;
    for (const selected_stamp& one : selected) {
        removed.push_back(_as_selected(device, one));
    }
    std::stable_partition(removed.begin(), removed.end(),
                          [](const stamp& one) { return !one.is_readable(); });
    _require_deletable(device.stamps(), device.id(), removed);
    return removed;
}

}  // namespace

selection select_stamps(session& tokens, const std::vector<std::string>& selectors) {
    selection selected;
    for (const selected_stamp& one : select_for_change(tokens, selectors).chosen) {
        selected[one.device].push_back(one);
    }
    return selected;
}

void delete_stamps(session& tokens, const selection& chosen, verification how,
                   const std::function<void(const named_stamp&)>& tell_deleted) {
    for (const auto& [id, selected] : chosen) {
        expect_changes(tokens, id, _sizes_of(selected), how);
    }
    std::size_t deleted = 0;
    try {
        for (const auto& [id, selected] : chosen) {
            const std::vector<selected_stamp>& wanted = selected;
            std::vector<stamp> removed;
            const auto look = [&](locked_device& device) { removed = _in_order(device, wanted); };
            authorised_change change = authorise(tokens, id, look, how);
            for (const stamp& one : removed) {
                change.remove(one);
                ++deleted;
                tell_deleted(one);
            }
        }
    } catch (const failure& error) {
        throw after_changes(error, deleted);
    }
}

}  // namespace vemra::tool
