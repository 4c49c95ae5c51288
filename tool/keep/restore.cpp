#include "keep/restore.h"

#include <algorithm>
#include <string>

#include "basics/text.h"
#include "keep/after_changes.h"
#include "keep/authorised_change.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/listing.h"
#include "keep/read_locks.h"

namespace vemra::tool {

namespace {

using action = restore_item::action;

std::vector<stamp> _present(session& tokens, const device_id& device) {
    const read_locks lock(tokens, {device});
    return whole_list(tokens, device, "reading " + describe(device));
}

bool _is_change(const restore_item& item) {
    return item.what == action::append || item.what == action::replace;
}

bool _is_for_unreadable(const restore_item& item) {
    return item.what == action::replace && !item.there.is_readable();
}

// Before they are replaced nothing else is written.
void _put_unreadable_first(std::vector<restore_item>& items, const std::vector<stamp>& present,
                           const device_id& device) {
    const auto others = std::stable_partition(items.begin(), items.end(), _is_for_unreadable);
    if (std::none_of(others, items.end(), _is_change)) return;
    std::vector<stamp> replaced;
    for (auto item = items.begin(); item != others; ++item) {
        replaced.push_back(item->there);
    }
    require_readable(present, device, replaced);
}

std::vector<change_sizes> _sizes_of(const std::vector<restore_item>& items) {
    std::vector<change_sizes> sizes;
    for (const restore_item& item : items) {
        if (_is_change(item)) sizes.push_back({item.there.data.size(), item.wanted.data.size()});
    }
    return sizes;
}

void _warn_of_doubts(session& tokens, const restore_item& item) {
    for (const std::string& doubt : item.doubts) {
        tokens.served().warn(quoted(item.wanted.name) +
                             " is restored as the backup holds it: " + doubt);
    }
}

void _carry_out(authorised_change& change, restore_item& item) {
    const archived_stamp& wanted = item.wanted;
    if (item.what == action::append) {
        item.there = change.append(wanted.name, wanted.data);
    } else {
        change.update(look_at(item.there), wanted.name, wanted.data);
    }
}

}  // namespace

device_id restore_target(session& tokens, const archive& kept, const device_choice& choice) {
    if (!choice.is_open()) return tokens.find_device(choice);
    const device_id origin{kept.serial, kept.type};
    const std::vector<device_id> attached = tokens.devices();
    if (std::find(attached.begin(), attached.end(), origin) != attached.end()) {
        tokens.tell_kept(origin);
        return origin;
    }
    throw failure(exit_code::no_device, describe(origin) +
                                            ", which the backup was made of, is not attached; "
                                            "--device names another one");
}

void restore_backup(session& tokens, const device_id& device, const archive& kept,
                    const restore_rule& rule,
                    const std::function<void(const restore_item&)>& tell) {
    const storing_judge judge = [&](const offer& offered, const std::vector<named_stamp>& others) {
        return objections_to(tokens, offered, others);
    };
    std::vector<restore_item> items;
    const auto plan = [&](const std::vector<stamp>& present) {
        items = plan_restore(kept, device, present, rule.replace, judge);
        _put_unreadable_first(items, present, device);
        return static_cast<std::size_t>(std::count_if(items.begin(), items.end(), _is_change));
    };
    if (plan(_present(tokens, device)) == 0) {
        std::for_each(items.begin(), items.end(), tell);
        return;
    }
    expect_changes(tokens, device, _sizes_of(items), rule.how);
    const auto look = [&](locked_device& locked) { return plan(locked.stamps()); };
    authorised_change change = authorise(tokens, device, look, rule.how);
    for (const restore_item& item : items) {
        if (!_is_change(item)) tell(item);
    }
    std::size_t done = 0;
    try {
        for (restore_item& item : items) {
            if (!_is_change(item)) continue;
            _warn_of_doubts(tokens, item);
            _carry_out(change, item);
            ++done;
            tell(item);
        }
    } catch (const failure& error) {
        throw after_changes(error, done);
    }
}

}  // namespace vemra::tool
