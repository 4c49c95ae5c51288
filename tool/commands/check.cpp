#include <algorithm>
#include <charconv>

#include "basics/interruption.h"
#include "commands/commands.h"
#include "commands/password_source.h"
#include "keep/describe.h"
#include "keep/device_lock.h"
#include "keep/mapping_check.h"
#include "keep/recovery.h"
#include "keep/selector.h"
#include "keep/stamp_checks.h"
#include "terminal/progress.h"

namespace vemra::tool {

namespace {

struct check_options {
    device_options device;
    bool repair = false;
    bool yes = false;
    std::vector<std::string> names;
};

json _finding_json(const finding& one) {
    return {{"kind", name_of(one.what)},
            {"slot", one.slot == 0 ? json(nullptr) : json(one.slot)},
            {"text", one.text}};
}

device_contents _check_one(context& run, const device_id& device) {
    device_contents contents;
    {
        const progress shown(run.out, "checking " + describe(device));
        contents = check_device(run.tokens(), device);
    }
    json entry{{"device", device_json(device)}, {"findings", json::array()}};
    for (const finding& one : contents.findings) {
        entry["findings"].push_back(_finding_json(one));
        run.out.print(describe(device) + ": " + one.text + "\n");
    }
    if (contents.findings.empty())
        run.out.print(describe(device) + ": in order\n");
    else
        run.code = exit_code::failed;
    run.result["devices"].push_back(entry);
    return contents;
}

// SLOT=NAME, each with a name that is fit for a new stamp.
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
        check_name(names[slot]);
    }
    return names;
}

bool _is_wanted(context& run, const check_options& options, const repair_plan& plan) {
    std::string text = "The repair will:";
    for (const std::string& step : plan.steps) {
        text += "\n  " + step;
    }
    run.result["plan"] = plan.steps;
    output::error(text);
    return options.yes || confirm(run, "Repair?", "--yes");
}

std::string _kept_text(const recovery& kept) {
    return "\nThe old list and its stamps are kept; put them back with: vemra-stamp restore "
           "--replace " +
           kept.path();
}

// Every stamp that was readable must be so still, and the list must be the planned one.
std::string _what_is_wrong(context& run, const device_id& device, const repair_plan& plan,
                           const std::vector<stamp>& before) {
    std::string wrong;
    if (read_mapping(run.tokens(), device).entries != plan.mapping) {
        wrong = "\n  the list is not the planned one";
    }
    const std::vector<stamp> after = run.tokens().stamps(device).stamps;
    for (const stamp& one : before) {
        const bool is_there = std::any_of(after.begin(), after.end(), [&](const stamp& other) {
            return other.uuid == one.uuid && other.name == one.name && other.data == one.data;
        });
        if (!one.data.empty() && !is_there) {
            wrong += "\n  " + describe(one) + " is not readable any more";
        }
    }
    return wrong;
}

void _verify(context& run, const device_id& device, const repair_plan& plan,
             const std::vector<stamp>& before, const recovery& kept) {
    std::string wrong;
    try {
        wrong = _what_is_wrong(run, device, plan, before);
    } catch (const failure& error) {
        wrong = std::string("\n  ") + error.what();
    }
    if (wrong.empty()) return;
    throw failure(exit_code::check_failed,
                  "the repair was written, but not verified:" + wrong + _kept_text(kept),
                  {{"recovery", kept.path()}});
}

recovery _keep(const device_id& device, const device_contents& contents,
               const std::vector<stamp>& stamps) {
    archive kept{device, {}};
    for (const stamp& one : stamps) {
        if (!one.data.empty()) kept.stamps.push_back({one.name, one.data, 0, one.uuid});
    }
    recovery files(kept);
    files.add("mapping-record", contents.record.bytes);
    return files;
}

void _write(context& run, const device_id& device, const device_contents& contents,
            const repair_plan& plan) {
    const std::vector<stamp> before = run.tokens().stamps(device).stamps;
    const interruption::hold held;
    recovery kept = _keep(device, contents, before);
    const progress shown(run.out, "repairing " + describe(device));
    try {
        run.tokens().write_slot(device, mapping_slot, plan.record);
    } catch (const failure& error) {
        throw failure(exit_code::failed, error.what() + _kept_text(kept),
                      {{"recovery", kept.path()}});
    }
    _verify(run, device, plan, before, kept);
    kept.discard();
}

void _repair(context& run, const check_options& options) {
    const std::map<int, std::string> names = _given_names(options);
    const device_id device = run.tokens().find_device(options.device.serial, options.device.type);
    const device_lock lock(device, device_lock::kind::exclusive, run.options.timeout);
    const device_contents contents = _check_one(run, device);
    const repair_plan plan = plan_repair(run.tokens(), contents, names);
    run.result["repaired"] = false;
    if (plan.steps.empty()) {
        run.out.note(contents.findings.empty() ? "nothing to repair"
                                               : "a repair can mend none of this");
        return;
    }
    if (!_is_wanted(run, options, plan)) throw failure(exit_code::usage, "nothing was changed");
    verify_password(run, device);
    _write(run, device, contents, plan);
    run.result["repaired"] = true;
    const bool is_left = !check_device(run.tokens(), device).findings.empty();
    run.code = is_left ? exit_code::partial : exit_code::done;
    run.out.note(is_left ? "repaired, verified; some findings remain" : "repaired, verified");
}

void _check(context& run, const check_options& options) {
    run.result["devices"] = json::array();
    if (options.repair) {
        _repair(run, options);
        return;
    }
    for (const device_id& device : run.tokens().devices()) {
        if (!options.device.serial.empty() && device.serial != options.device.serial) continue;
        if (options.device.type != -1 && device.type != options.device.type) continue;
        const device_lock lock(device, device_lock::kind::shared, run.options.timeout);
        _check_one(run, device);
    }
    // Tells which devices there are when none was meant.
    if (run.result["devices"].empty()) {
        run.tokens().find_device(options.device.serial, options.device.type);
    }
}

}  // namespace

void add_check(CLI::App& program, context& run) {
    auto options = std::make_shared<check_options>();
    CLI::App* command =
        program.add_subcommand("check", "Compare the list on a device with its slots");
    add_device_options(*command, options->device);
    CLI::Option* repair = command->add_flag("--repair", options->repair, "Mend the list");
    command->add_option("--name", options->names, "Name for the unlisted bytes in a slot")
        ->type_name("SLOT=NAME")
        ->expected(1)
        ->take_all()
        ->needs(repair);
    command->add_flag("--yes", options->yes, "Do not ask")->needs(repair);
    command->callback([&run, options] { _check(run, *options); });
}

}  // namespace vemra::tool
