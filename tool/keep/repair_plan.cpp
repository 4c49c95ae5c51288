#include "keep/repair_plan.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "basics/digest.h"
#include "basics/failure.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "keep/storing_rule.h"

namespace vemra::tool {

namespace {

// "recovered-8131", or the first such name with a number behind it that no stamp has.
std::string _made_name(const stamp_mapping& mapping, int slot) {
    const std::string first = "recovered-" + std::to_string(slot);
    std::string name = first;
    const auto has_name = [&](const auto& entry) { return entry.second == name; };
    for (int number = 2; std::any_of(mapping.begin(), mapping.end(), has_name); ++number) {
        name = first + "-" + std::to_string(number);
    }
    return name;
}

class planner {
public:
    planner(session& tokens, const device_contents& contents,
            const std::map<int, std::string>& given_names)
        : tokens_(tokens), contents_(contents), given_names_(given_names) {}

    repair_plan plan() {
        plan_.list.entries = contents_.record.entries;
        drop_entries_without_bytes();
        for (const auto& [slot, bytes] : contents_.slots) {
            const auto number = static_cast<unsigned int>(slot);
            if (plan_.list.entries.count(number) > 0 || contents_.is_sealed(slot)) continue;
            list_bytes(slot, bytes);
        }
        if (!given_names_.empty()) {
            throw failure(exit_code::usage, "slot " + std::to_string(given_names_.begin()->first) +
                                                " holds no unlisted bytes to be named");
        }
        encode();
        return std::move(plan_);
    }

private:
    void drop_entries_without_bytes() {
        for (const auto& [slot, name] : contents_.record.entries) {
            if (is_stamp_slot(slot) && contents_.may_have_bytes(slot)) continue;
            plan_.list.entries.erase(slot);
            plan_.steps.push_back("drop " + quoted(name) +
                                  " from the list: " + describe_slot(slot) + " holds no stamp");
        }
    }

    void list_bytes(int slot, const shared_bytes& bytes) {
        const auto given = given_names_.find(slot);
        if (given != given_names_.end()) {
            const auto refusal = list_as({given->second, ""}, slot, bytes);
            if (refusal) throw failure(exit_code::usage, *refusal);
            given_names_.erase(given);
            return;
        }
        const auto kept = kept_name(slot, bytes);
        if (kept && !list_as(*kept, slot, bytes)) return;
        if (!list_as({_made_name(plan_.list.entries, slot), ""}, slot, bytes)) {
            plan_.makes_names = true;
        }
    }

    struct proposed_name {
        std::string name;
        /** Where it comes from, as a step tells it; empty when that needs no word. */
        std::string origin;
    };

    // The name under which these very bytes were listed in this slot when a change last kept the
    // list.
    std::optional<proposed_name> kept_name(int slot, const shared_bytes& bytes) const {
        const std::vector<kept_change> kept = tokens_.kept_of(contents_.device);
        const std::string digest = sha256(bytes.get());
        for (auto one = kept.rbegin(); one != kept.rend(); ++one) {
            for (const listed_stamp& listed : one->kept->listed) {
                if (listed.slot != slot || listed.sha256 != digest) continue;
                return proposed_name{listed.name,
                                     ", its name in the list that " + one->name() + " keeps"};
            }
        }
        return std::nullopt;
    }

    // Nothing, or why it cannot be done.
    std::optional<std::string> list_as(const proposed_name& proposed, int slot,
                                       const shared_bytes& bytes) {
        const offer offered = make_offer(proposed.name, bytes);
        std::string doubts;
        for (const objection& one :
             objections_to(tokens_, offered, plan_.list.listed_stamps(contents_.device))) {
            if (one.what != objection::kind::no_picture) return one.text;
            doubts += ", although " + one.text;
        }
        const std::string doubt = doubt_about(proposed.name);
        if (!doubt.empty()) doubts += ", although the name " + doubt;
        const auto number = static_cast<unsigned int>(slot);
        plan_.list.entries[number] = proposed.name;
        plan_.steps.push_back("list the bytes in " + describe_slot(number) + " as " +
                              quoted(proposed.name) + proposed.origin + doubts);
        return std::nullopt;
    }

    void encode() {
        plan_.list = make_mapping(tokens_, contents_.device, plan_.list.entries);
        const auto& findings = contents_.findings;
        if (std::any_of(findings.begin(), findings.end(), [](const finding& one) {
                return one.what == finding::kind::malformed_record;
            })) {
            plan_.steps.emplace_back("write the list anew, well-formed");
        }
    }

    session& tokens_;
    const device_contents& contents_;
    std::map<int, std::string> given_names_;
    repair_plan plan_;
};

}  // namespace

repair_plan plan_repair(session& tokens, const device_contents& contents,
                        const std::map<int, std::string>& given_names) {
    return planner(tokens, contents, given_names).plan();
}

bool needs_repair(const locked_device& device) {
    try {
        return !plan_repair(device.tokens(), check_device(device), {}).steps.empty();
    } catch (const failure&) {
        return false;
    }
}

}  // namespace vemra::tool
