#include "keep/delete.h"

#include <algorithm>
#include <utility>

#include "basics/text.h"
#include "keep/after_changes.h"
#include "keep/authorised_change.h"
#include "keep/listing.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

void _require_unchanged(locked_device& device, const stamp& selected) {
    for (const stamp& one : device.stamps()) {
        if (is_same_place(one, selected) && one.name == selected.name &&
            one.data == selected.data && one.is_readable() == selected.is_readable()) {
            return;
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

}  // namespace

selection select_stamps(session& tokens, const std::vector<std::string>& selectors) {
    const std::vector<stamp> stamps = stamps_for_selection(tokens);
    selection selected;
    for (const std::string& selector : selectors) {
        const stamp& one = select_stamp(stamps, selector);
        std::vector<stamp>& chosen = selected[one.device];
        const bool is_known = std::any_of(chosen.begin(), chosen.end(), [&](const stamp& other) {
            return other.uuid == one.uuid;
        });
        if (!is_known) chosen.push_back(one);
    }
    for (auto& [device, chosen] : selected) {
        // What cannot be read goes first: before that nothing else is written.
        std::stable_partition(chosen.begin(), chosen.end(),
                              [](const stamp& one) { return !one.is_readable(); });
        _require_deletable(stamps, device, chosen);
    }
    return selected;
}

void delete_stamps(session& tokens, const selection& chosen,
                   const std::function<void(const stamp&)>& tell_deleted) {
    std::size_t deleted = 0;
    try {
        for (const auto& [id, stamps] : chosen) {
            const std::vector<stamp>& removed = stamps;
            authorised_change change = authorise(tokens, id, [&](locked_device& device) {
                for (const stamp& one : removed) {
                    _require_unchanged(device, one);
                }
                _require_deletable(device.stamps(), device.id(), removed);
                return removed.size();
            });
            for (const stamp& one : stamps) {
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
