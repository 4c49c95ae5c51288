#include "keep/restore_plan.h"

#include <algorithm>
#include <set>

#include "keep/describe.h"
#include "keep/mapping_record.h"

namespace vemra::tool {

namespace {

using action = restore_item::action;

class restore_planner {
public:
    restore_planner(const archive& kept, const std::vector<stamp>& present, bool replace,
                    const storing_judge& judge, const device_id& device)
        : kept_(kept),
          present_(present),
          held_(names_of(present)),
          replace_(replace),
          judge_(judge),
          free_(static_cast<std::size_t>(stamp_slots) -
                std::min<std::size_t>(present.size(), stamp_slots)),
          device_(device) {}

    // First what is there already, so that no other stamp of the backup takes its place.
    std::vector<restore_item> plan() {
        std::vector<restore_item> items;
        for (const archived_stamp& one : kept_.stamps) {
            const stamp* same = find([&](const stamp& other) {
                return other.name == one.name && other.data == one.data;
            });
            items.push_back({action::keep, one, {}, "", {}});
            if (same != nullptr) settle(items.back(), action::present, *same);
        }
        for (restore_item& item : items) {
            if (item.what != action::present) decide(item);
        }
        return items;
    }

private:
    template <typename Predicate>
    const stamp* find(Predicate matches) const {
        for (const stamp& one : present_) {
            if (claimed_.count(one.uuid) == 0 && matches(one)) return &one;
        }
        return nullptr;
    }

    void settle(restore_item& item, action what, const stamp& there) {
        item.what = what;
        item.there = there;
        claimed_.insert(there.uuid);
    }

    void decide(restore_item& item) {
        const std::string& name = item.wanted.name;
        const offer offered = make_offer(name, item.wanted.data);
        if (is_forbidden(item, offered)) return;
        const stamp* same_name = find([&](const stamp& one) { return one.name == name; });
        const stamp* old = same_name == nullptr ? in_its_place(item.wanted) : same_name;
        const bool is_renamed =
            replace_ && old != nullptr && old != same_name && old->data == item.wanted.data;
        if (same_name == nullptr && free_ > 0 && !is_renamed) {
            --free_;
            item.what = action::append;
            hold(item, offered, held_.end());
            return;
        }
        if (old != nullptr && replace_) {
            settle(item, action::replace, *old);
            hold(item, offered,
                 std::find_if(held_.begin(), held_.end(),
                              [&](const named_stamp& one) { return one.uuid == item.there.uuid; }));
            return;
        }
        item.reason = same_name != nullptr
                          ? "another stamp has this name; --replace puts this one in its place"
                          : describe(device_) + " holds five stamps already";
    }

    bool is_forbidden(restore_item& item, const offer& offered) const {
        for (const objection& one : judge_(offered, {})) {
            if (one.what != objection::kind::forbidden) continue;
            item.reason = one.text;
            return true;
        }
        return false;
    }

    // Takes the stamp among those that the device will hold, in the place of another or at the end.
    void hold(restore_item& item, const offer& offered, std::vector<named_stamp>::iterator place) {
        if (place != held_.end()) held_.erase(place);
        for (const objection& one : judge_(offered, held_)) {
            item.doubts.push_back(one.text);
        }
        const std::string doubt = doubt_about(item.wanted.name);
        if (!doubt.empty()) item.doubts.push_back("the name " + doubt);
        held_.push_back({"", item.wanted.name, device_});
    }

    const stamp* in_its_place(const archived_stamp& wanted) const {
        return find([&](const stamp& one) {
            return one.uuid == wanted.uuid && std::none_of(kept_.stamps.begin(), kept_.stamps.end(),
                                                           [&](const archived_stamp& other) {
                                                               return other.name == one.name;
                                                           });
        });
    }

    const archive& kept_;
    const std::vector<stamp>& present_;
    // What the device will hold.
    std::vector<named_stamp> held_;
    bool replace_;
    const storing_judge& judge_;
    std::size_t free_;
    const device_id& device_;
    std::set<std::string> claimed_;
};

}  // namespace

std::vector<restore_item> plan_restore(const archive& kept, const device_id& device,
                                       const std::vector<stamp>& present, bool replace,
                                       const storing_judge& judge) {
    return restore_planner(kept, present, replace, judge, device).plan();
}

}  // namespace vemra::tool
