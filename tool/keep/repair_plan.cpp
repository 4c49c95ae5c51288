#include "keep/repair_plan.h"

#include <algorithm>
#include <utility>

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
        const bool is_given = given != given_names_.end();
        stamp_mapping& entries = plan_.list.entries;
        const std::string name = is_given ? given->second : _made_name(entries, slot);
        const offer offered = make_offer(name, bytes);
        std::string doubts;
        for (const objection& one : objections_to(tokens_, offered, plan_.list.listed_stamps())) {
            if (one.what == objection::kind::no_picture) {
                doubts += ", although " + one.text;
            } else if (is_given) {
                throw failure(exit_code::usage, one.text);
            } else {
                return;
            }
        }
        if (is_given) given_names_.erase(given);
        entries[static_cast<unsigned int>(slot)] = name;
        plan_.steps.push_back("list the bytes in " +
                              describe_slot(static_cast<unsigned int>(slot)) + " as " +
                              quoted(name) + doubts);
    }

    void encode() {
        plan_.list = make_mapping(tokens_, plan_.list.entries);
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
