#include <algorithm>

#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "files/archive.h"
#include "keep/describe.h"
#include "keep/device_lock.h"
#include "keep/selector.h"
#include "keep/slots.h"
#include "terminal/progress.h"

namespace vemra::tool {

namespace {

struct backup_options {
    device_options device;
    std::string directory;
};

std::vector<stamp> _read(context& run, const device_id& device) {
    const progress shown(run.out, "reading " + describe(device));
    return run.tokens().stamps(device).stamps;
}

archive _collect(context& run, const device_id& device) {
    archive kept{device, {}};
    const std::vector<stamp> stamps = _read(run, device);
    warn_of_errors(run);
    const std::vector<int> slots = read_mapping(run.tokens(), device).listed_slots();
    for (std::size_t i = 0; i < stamps.size(); ++i) {
        const stamp& one = stamps[i];
        if (one.data.empty()) {
            run.out.warn(quoted(one.name) + " has no bytes and is left out");
            run.code = exit_code::partial;
            continue;
        }
        kept.stamps.push_back(
            {one.name, one.data, slots.size() == stamps.size() ? slots[i] : 0, one.uuid});
    }
    return kept;
}

void _backup(context& run, const backup_options& options) {
    const device_id device = run.tokens().find_device(options.device.serial, options.device.type);
    const device_lock lock(device, device_lock::kind::shared, run.options.timeout);
    const archive kept = _collect(run, device);
    write_archive(options.directory, kept);
    run.result["device"] = device_json(device);
    run.result["directory"] = options.directory;
    run.result["stamps"] = json::array();
    for (const archived_stamp& one : kept.stamps) {
        run.result["stamps"].push_back({{"uuid", to_hex(one.uuid)}, {"name", one.name}});
    }
    const std::size_t count = kept.stamps.size();
    run.out.note(std::to_string(count) + (count == 1 ? " stamp of " : " stamps of ") +
                 describe(device) + (count == 1 ? " is in " : " are in ") + options.directory);
}

}  // namespace

void add_backup(CLI::App& program, context& run) {
    auto options = std::make_shared<backup_options>();
    CLI::App* command = program.add_subcommand("backup", "Keep all stamps of a device in files");
    add_device_options(*command, options->device);
    command->add_option("DIR", options->directory, "Directory to make")->required();
    command->callback([&run, options] { _backup(run, *options); });
}

}  // namespace vemra::tool
