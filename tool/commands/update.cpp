#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "files/file.h"
#include "keep/describe.h"
#include "keep/device_change.h"
#include "keep/selector.h"
#include "keep/stamp_checks.h"
#include "picture/picture.h"

namespace vemra::tool {

namespace {

struct update_options {
    std::string selector;
    std::string name;
    bool has_name = false;
    std::string file;
    bool any_data = false;
    bool allow_duplicate = false;
};

// The stamp as it is under the lock: another run may have changed it since it was selected.
const stamp& _under_lock(const device_change& change, const stamp& selected) {
    for (const stamp& one : change.stamps()) {
        if (one.uuid == selected.uuid && one.name == selected.name) return one;
    }
    throw failure(exit_code::no_stamp, quoted(selected.name) + " is not there any more");
}

void _update(context& run, const update_options& options) {
    if (!options.has_name && options.file.empty()) {
        throw failure(exit_code::usage, "nothing to change: give --name, a FILE, or both");
    }
    if (options.has_name) check_name(options.name);
    std::string data;
    if (!options.file.empty()) {
        data = read_stamp_file(options.file);
        check_picture(run, data, options.any_data);
    }

    const std::vector<stamp> stamps = list_for_selection(run);
    const stamp& selected = select_stamp(stamps, options.selector);
    device_change change(run, selected.device);
    const stamp old = _under_lock(change, selected);
    const std::string name = options.has_name ? options.name : old.name;
    if (name != old.name && !options.allow_duplicate) check_unused(change.stamps(), name);
    if (options.file.empty()) data = old.data;
    if (data.empty()) throw failure(exit_code::usage, "the stamp has no bytes: give a FILE");
    change.authorise();
    change.update(old, name, data);
    run.result["stamp"] = stamp_json({old.uuid, name, data, old.device}, look_at(data));
    run.out.note(quoted(name) + " is on " + describe(old.device) + ", verified");
}

}  // namespace

void add_update(CLI::App& program, context& run) {
    auto options = std::make_shared<update_options>();
    CLI::App* command = program.add_subcommand("update", "Replace a stamp's picture or name");
    command->add_option("SELECTOR", options->selector, "The stamp")->required();
    command->add_option("FILE", options->file, "The new picture, or - for standard input");
    CLI::Option* name = command->add_option("--name", options->name, "The new name");
    command->add_flag("--any-data", options->any_data, "Store what is no picture, too");
    command->add_flag("--allow-duplicate", options->allow_duplicate,
                      "Use a name that another stamp has");
    command->callback([&run, options, name] {
        options->has_name = name->count() > 0;
        _update(run, *options);
    });
}

}  // namespace vemra::tool
