#include "keep/restore.h"

#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"

namespace vemra::tool {

namespace {

using action = restore_item::action;

struct restore_options {
    device_choice device;
    std::string directory;
    bool replace = false;
};

void _tell(context& run, const restore_item& item) {
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
            run.out.note(name + " is restored, verified");
            break;
        case action::replace:
            run.result["replaced"].push_back(identity_json(item.there));
            run.out.note(name + " is restored in the place of " + quoted(item.there.name) +
                         ", verified");
            break;
    }
}

void _restore(context& run, const restore_options& options) {
    for (const char* list : {"appended", "replaced", "present", "left_out"}) {
        run.result[list] = json::array();
    }
    const archive kept = read_archive(options.directory);
    const device_id device = restore_target(run.tokens(), kept, options.device);
    run.result["device"] = device_json(device);
    restore_backup(run.tokens(), device, kept, options.replace,
                   [&](const restore_item& item) { _tell(run, item); });
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
