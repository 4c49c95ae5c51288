#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "files/file.h"
#include "keep/describe.h"
#include "keep/device_change.h"
#include "keep/slots.h"
#include "keep/stamp_checks.h"
#include "picture/picture.h"

namespace vemra::tool {

namespace {

struct append_options {
    device_options device;
    std::string name;
    std::string file;
    bool any_data = false;
    bool allow_duplicate = false;
};

void _append(context& run, const append_options& options) {
    check_name(options.name);
    const std::string data = read_stamp_file(options.file);
    check_picture(run, data, options.any_data);

    const device_id device = run.tokens().find_device(options.device.serial, options.device.type);
    device_change change(run, device);
    if (!options.allow_duplicate) check_unused(change.stamps(), options.name);
    if (change.stamps().size() >= static_cast<std::size_t>(stamp_slots)) {
        throw failure(exit_code::device_full, describe(device) + " holds five stamps already");
    }
    change.authorise();
    change.append(options.name, data);
    run.result["stamp"] = stamp_json(change.appended(), look_at(data));
    run.out.print(to_hex(change.appended().uuid) + "\n");
    run.out.note(quoted(options.name) + " is on " + describe(device) + ", verified");
}

}  // namespace

void add_append(CLI::App& program, context& run) {
    auto options = std::make_shared<append_options>();
    CLI::App* command = program.add_subcommand("append", "Put a new stamp on a device");
    add_device_options(*command, options->device);
    command->add_option("--name", options->name, "The stamp's name")->required();
    command->add_option("FILE", options->file, "The picture, or - for standard input")->required();
    command->add_flag("--any-data", options->any_data, "Store what is no picture, too");
    command->add_flag("--allow-duplicate", options->allow_duplicate,
                      "Use a name that another stamp has");
    command->callback([&run, options] { _append(run, *options); });
}

}  // namespace vemra::tool
