#include "keep/check.h"

#include <charconv>

#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "keep/repair.h"

namespace vemra::tool {

namespace {

struct check_options {
    device_choice device;
    bool repair = false;
    bool yes = false;
    std::vector<std::string> names;
};

void _tell_findings(context& run, const device_id& device, const std::vector<finding>& findings) {
    run.result["devices"].push_back(
        {{"device", device_json(device)}, {"findings", findings_json(findings)}});
    for (const finding& one : findings) {
        run.out.print(describe(device) + ": " + one.text + "\n");
    }
    if (findings.empty())
        run.out.print(describe(device) + ": in order\n");
    else
        run.code = exit_code::failed;
}

// SLOT=NAME.
std::map<int, std::string> _given_names(const check_options& options) {
    std::map<int, std::string> names;
    for (const std::string& text : options.names) {
        int slot = 0;
        const auto parsed = std::from_chars(text.data(), text.data() + text.size(), slot);
        if (parsed.ec != std::errc() || parsed.ptr == text.data() + text.size() ||
            *parsed.ptr != '=') {
            throw failure(exit_code::usage, "--name takes SLOT=NAME, as in --name 8131=Seal");
        }
        names[slot] = std::string(parsed.ptr + 1);
    }
    return names;
}

bool _is_wanted(context& run, const check_options& options, const device_id& device,
                const repair_plan& plan) {
    std::string text = "The repair of " + describe(device) + " will:";
    for (const std::string& step : plan.steps) {
        text += "\n  " + step;
    }
    run.result["plan"] = plan.steps;
    output::error(text);
    return options.yes || run.user.confirm("Repair?", "--yes");
}

void _repair(context& run, const check_options& options) {
    const std::map<int, std::string> names = _given_names(options);
    const device_id device = run.tokens().find_device(options.device);
    const device_contents contents = check_device(run.tokens(), device);
    _tell_findings(run, device, contents.findings);
    const repair_plan plan = plan_repair(run.tokens(), contents, names);
    run.result["repaired"] = false;
    if (plan.steps.empty()) {
        run.out.note(contents.findings.empty() ? "nothing to repair"
                                               : "a repair can mend none of this; a stamp that is "
                                                 "unreadable, damaged or badly named can be given "
                                                 "a new picture or name with update, or deleted");
        return;
    }
    if (!_is_wanted(run, options, device, plan)) {
        throw failure(exit_code::usage, "nothing was changed");
    }
    const bool is_left = !repair_device(run.tokens(), device, contents, plan).empty();
    run.result["repaired"] = true;
    run.code = is_left ? exit_code::partial : exit_code::done;
    if (plan.makes_names) {
        run.out.note(
            "names were made: restore a backup of these stamps with --replace, or it adds the "
            "same pictures again under their old names");
    }
    run.out.done(describe(device) + (is_left ? " is repaired, verified; some findings remain"
                                             : " is repaired, verified"));
}

void _check(context& run, const check_options& options) {
    run.result["devices"] = json::array();
    if (options.repair) {
        _repair(run, options);
        return;
    }
    for (const device_id& device : run.tokens().devices()) {
        if (!options.device.matches(device)) continue;
        _tell_findings(run, device, check_device(run.tokens(), device).findings);
    }
    // Tells which devices there are when none was meant.
    if (run.result["devices"].empty()) run.tokens().find_device(options.device);
}

}  // namespace

void add_check(CLI::App& program, context& run) {
    auto options = std::make_shared<check_options>();
    CLI::App* command =
        program.add_subcommand("check", "Compare the list on a device with its slots");
    add_device_options(*command, options->device);
    CLI::Option* repair = command->add_flag("--repair", options->repair, "Mend the list");
    add_lock_option(*command, run)->excludes(repair);
    command->add_option("--name", options->names, "Name for the unlisted bytes in a slot")
        ->type_name("SLOT=NAME")
        ->expected(1)
        ->take_all()
        ->needs(repair);
    command->add_flag("--yes", options->yes, "Do not ask")->needs(repair);
    command->callback([&run, options] { _check(run, *options); });
}

}  // namespace vemra::tool
