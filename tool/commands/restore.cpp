#include "keep/restore.h"

#include <algorithm>
#include <filesystem>

#include "basics/text.h"
#include "commands/commands.h"
#include "commands/kept.h"
#include "commands/shapes.h"
#include "keep/after_changes.h"
#include "keep/recovery.h"

namespace vemra::tool {

namespace {

using action = restore_item::action;

void _tell(context& run, const restore_item& item, verification how) {
    const std::string name = quoted(item.wanted.name);
    switch (item.what) {
        case action::present:
            run.result["present"].push_back(identity_json(item.there));
            run.out.note(name + " is there already");
            break;
        case action::keep:
            run.result["left_out"].push_back({{"name", item.wanted.name}, {"reason", item.reason}});
            run.out.warn(name + " is not restored: " + item.reason);
            run.code = exit_code::partial;
            break;
        case action::append:
            run.result["appended"].push_back(identity_json(item.there));
            run.out.done(name + " is restored" + verified(how));
            break;
        case action::replace:
            run.result["replaced"].push_back(identity_json(item.there));
            run.out.done(name + " is restored in the place of " + quoted(item.there.name) +
                         verified(how));
            break;
    }
}

void _restore_one(context& run, const restore_options& options, const std::string& directory) {
    const archive kept = read_archive(directory);
    run.tokens().leave_untold(directory);
    const device_id device = restore_target(run.tokens(), kept, options.device);
    run.result["device"] = device_json(device);
    const std::size_t left_out = run.result["left_out"].size();
    if (kept.stamps.empty()) {
        run.out.note(is_kept_change(directory)
                         ? directory + " holds the old list alone, whose names check --repair takes"
                         : "the backup holds no stamps");
        return;
    }
    restore_backup(run.tokens(), device, kept, options.rule,
                   [&](const restore_item& item) { _tell(run, item, options.rule.how); });
    if (run.result["left_out"].size() == left_out && is_kept_change(directory)) {
        offer_to_discard(run, directory, options.discard);
    }
}

// The latest last, so that it prevails where several hold the same stamp.
void _sort_by_age(std::vector<std::string>& directories) {
    const auto age = [](const std::string& directory) {
        std::error_code none;
        return std::filesystem::last_write_time(directory + "/manifest.json", none);
    };
    std::stable_sort(
        directories.begin(), directories.end(),
        [&](const std::string& one, const std::string& other) { return age(one) < age(other); });
}

}  // namespace

void restore_directories(context& run, const restore_options& options) {
    for (const char* list : {"appended", "replaced", "present", "left_out", "discarded"}) {
        run.result[list] = json::array();
    }
    std::vector<std::string> directories = options.directories;
    _sort_by_age(directories);
    for (const std::string& directory : directories) {
        const std::size_t changes = run.result["appended"].size() + run.result["replaced"].size();
        try {
            _restore_one(run, options, directory);
        } catch (const failure& error) {
            throw after_changes(error, changes);
        }
    }
}

void offer_to_discard(context& run, const std::string& directory, bool is_wanted) {
    if (!is_wanted && !run.user.can_be_asked()) {
        run.out.note(directory + " is still kept; see: vemra-stamp recovery");
        return;
    }
    const std::string question = "What it holds is on the device. Discard " + directory + "?";
    if (!is_wanted && !run.user.confirm(question, "--discard")) return;
    discard_kept_change(directory);
    run.result["discarded"].push_back(directory);
    run.out.note(directory + " is discarded");
}

void add_restore_options(CLI::App& command, restore_options& options) {
    add_device_options(command, options.device);
    command.add_flag("--replace", options.rule.replace, "Replace other stamps that are in the way");
    command.add_flag("--discard", options.discard,
                     "Discard what a change had kept, once it is restored");
    add_verify_option(command, options.rule.how);
}

void add_restore(CLI::App& program, context& run) {
    auto options = std::make_shared<restore_options>();
    CLI::App* command = program.add_subcommand("restore", "Put the stamps of a backup on a device");
    add_restore_options(*command, *options);
    command->add_option("DIR", options->directories, "The backup; of several, the latest prevails")
        ->required();
    command->callback([&run, options] { restore_directories(run, *options); });
}

}  // namespace vemra::tool
