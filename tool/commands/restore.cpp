#include <algorithm>

#include "basics/text.h"
#include "commands/commands.h"
#include "files/archive.h"
#include "keep/describe.h"
#include "keep/device_change.h"
#include "keep/restore_plan.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

using action = restore_item::action;

struct restore_options {
    device_options device;
    std::string directory;
    bool replace = false;
};

// The device that the backup was made of, unless another one is named.
device_id _target(context& run, const restore_options& options, const archive& kept) {
    if (!options.device.serial.empty() || options.device.type != -1) {
        return run.tokens().find_device(options.device.serial, options.device.type);
    }
    const std::vector<device_id> attached = run.tokens().devices();
    if (std::find(attached.begin(), attached.end(), kept.device) != attached.end()) {
        return kept.device;
    }
    throw failure(exit_code::no_device, describe(kept.device) +
                                            ", which the backup was made of, is not attached; "
                                            "--device names another one");
}

void _note_rest(context& run, const std::vector<restore_item>& items) {
    for (const restore_item& item : items) {
        const std::string& name = item.wanted.name;
        if (item.what == action::present) {
            run.result["present"].push_back(identity_json(item.there));
            run.out.note(quoted(name) + " is there already");
        } else if (item.what == action::keep) {
            run.result["left_out"].push_back({{"name", name}, {"reason", item.reason}});
            run.out.warn(quoted(name) + " is not restored: " + item.reason);
            run.code = exit_code::partial;
        }
    }
}

void _carry_out(context& run, device_change& change, const restore_item& item) {
    const std::string& name = item.wanted.name;
    if (item.what == action::append) {
        change.append(name, item.wanted.data);
        run.result["appended"].push_back(identity_json(change.appended()));
        run.out.note(quoted(name) + " is restored, verified");
    } else if (item.what == action::replace) {
        change.update(item.there, name, item.wanted.data);
        run.result["replaced"].push_back(identity_json(item.there));
        run.out.note(quoted(name) + " is restored in the place of " + quoted(item.there.name) +
                     ", verified");
    }
}

std::size_t _count_changes(const std::vector<restore_item>& items) {
    const auto changes = std::count_if(items.begin(), items.end(), [](const restore_item& item) {
        return item.what == action::append || item.what == action::replace;
    });
    return static_cast<std::size_t>(changes);
}

void _restore(context& run, const restore_options& options) {
    for (const char* list : {"appended", "replaced", "present", "left_out"}) {
        run.result[list] = json::array();
    }
    const archive kept = read_archive(options.directory);
    const device_id device = _target(run, options, kept);
    run.result["device"] = device_json(device);
    device_change change(run, device);
    const std::vector<restore_item> items = plan_restore(kept, change.stamps(), options.replace);
    _note_rest(run, items);
    const std::size_t changes = _count_changes(items);
    if (changes == 0) return;
    change.expect(changes);
    change.authorise();
    try {
        for (const restore_item& item : items) {
            _carry_out(run, change, item);
        }
    } catch (const failure& error) {
        const bool is_none = run.result["appended"].empty() && run.result["replaced"].empty();
        if (is_none || error.code() == exit_code::interrupted) throw;
        throw failure(exit_code::partial, error.what(), error.details());
    }
}

}  // namespace

void add_restore(CLI::App& program, context& run) {
    auto options = std::make_shared<restore_options>();
    CLI::App* command = program.add_subcommand("restore", "Put the stamps of a backup on a device");
    add_device_options(*command, options->device);
    command->add_option("DIR", options->directory, "The backup")->required();
    command->add_flag("--replace", options->replace, "Replace other stamps that are in the way");
    command->callback([&run, options] { _restore(run, *options); });
}

}  // namespace vemra::tool
