#include <algorithm>
#include <map>

#include "basics/text.h"
#include "commands/commands.h"
#include "commands/password_source.h"
#include "keep/describe.h"
#include "keep/device_change.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

struct delete_options {
    std::vector<std::string> selectors;
    bool yes = false;
};

using by_device = std::map<device_id, std::vector<stamp>>;

by_device _select(context& run, const delete_options& options) {
    const std::vector<stamp> stamps = list_for_selection(run);
    by_device selected;
    for (const std::string& selector : options.selectors) {
        const stamp& one = select_stamp(stamps, selector);
        std::vector<stamp>& chosen = selected[one.device];
        const bool is_known = std::any_of(chosen.begin(), chosen.end(), [&](const stamp& other) {
            return other.uuid == one.uuid;
        });
        if (!is_known) chosen.push_back(one);
    }
    return selected;
}

bool _is_wanted(context& run, const delete_options& options, const by_device& selected) {
    if (options.yes) return true;
    std::string question = "Delete";
    for (const auto& [device, stamps] : selected) {
        for (const stamp& one : stamps) {
            question += "\n  " + describe(one);
        }
    }
    return confirm(run, question + "\n?", "--yes");
}

void _require_unchanged(const device_change& change, const stamp& selected) {
    for (const stamp& one : change.stamps()) {
        if (one.uuid == selected.uuid && one.name == selected.name && one.data == selected.data) {
            return;
        }
    }
    throw failure(exit_code::no_stamp, quoted(selected.name) + " is not there any more");
}

void _delete_on(context& run, const device_id& device, const std::vector<stamp>& stamps) {
    device_change change(run, device);
    for (const stamp& one : stamps) {
        _require_unchanged(change, one);
    }
    change.expect(stamps.size());
    change.authorise();
    for (const stamp& one : stamps) {
        change.remove(one);
        run.result["deleted"].push_back(identity_json(one));
        run.out.note(quoted(one.name) + " is deleted from " + describe(device) + ", verified");
    }
}

void _delete(context& run, const delete_options& options) {
    run.result["deleted"] = json::array();
    const by_device selected = _select(run, options);
    if (!_is_wanted(run, options, selected)) {
        throw failure(exit_code::usage, "nothing was deleted");
    }
    try {
        for (const auto& [device, stamps] : selected) {
            _delete_on(run, device, stamps);
        }
    } catch (const failure& error) {
        if (run.result["deleted"].empty() || error.code() == exit_code::interrupted) throw;
        throw failure(exit_code::partial, error.what(), error.details());
    }
}

}  // namespace

void add_delete(CLI::App& program, context& run) {
    auto options = std::make_shared<delete_options>();
    CLI::App* command = program.add_subcommand("delete", "Remove stamps from their devices");
    command->add_option("SELECTOR", options->selectors, "The stamps")->required();
    command->add_flag("--yes", options->yes, "Do not ask");
    command->callback([&run, options] { _delete(run, *options); });
}

}  // namespace vemra::tool
