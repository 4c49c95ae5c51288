#include "keep/backup.h"

#include "basics/hex.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

struct backup_options {
    device_choice device;
    std::string directory;
};

void _backup(context& run, const backup_options& options) {
    const device_id device = run.tokens().find_device(options.device);
    const backup made = write_backup(run.tokens(), device, options.directory);
    if (!made.is_whole) run.code = exit_code::partial;
    run.result["device"] = device_json(device);
    run.result["directory"] = options.directory;
    run.result["stamps"] = json::array();
    for (const archived_stamp& one : made.kept.stamps) {
        run.result["stamps"].push_back({{"uuid", to_hex(one.uuid)}, {"name", one.name}});
    }
    const std::size_t count = made.kept.stamps.size();
    run.out.done(std::to_string(count) + (count == 1 ? " stamp of " : " stamps of ") +
                 describe(device) + (count == 1 ? " is in " : " are in ") + options.directory);
}

}  // namespace

void add_backup(CLI::App& program, context& run) {
    auto options = std::make_shared<backup_options>();
    CLI::App* command = program.add_subcommand("backup", "Keep all stamps of a device in files");
    add_device_options(*command, options->device);
    command->add_option("DIR", options->directory, "Directory to make")->required();
    add_lock_option(*command, run);
    command->callback([&run, options] { _backup(run, *options); });
}

}  // namespace vemra::tool
