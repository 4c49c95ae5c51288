#include "keep/update.h"

#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "files/file.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

struct update_options {
    update_request request;
    std::string name;
    std::string file;
};

void _update(context& run, update_options& options) {
    update_request& request = options.request;
    if (!request.name && options.file.empty()) {
        throw failure(exit_code::usage, "nothing to change: give --name, a FILE, or both");
    }
    if (!options.file.empty()) request.data = shared_bytes(read_stamp_file(options.file));
    const pictured_stamp updated = update_stamp(run.tokens(), request);
    run.result["stamp"] = stamp_json(updated);
    run.out.done(quoted(updated.one.name) + " is on " + describe(updated.one.device) +
                 verified(request.how));
}

}  // namespace

void add_update(CLI::App& program, context& run) {
    auto options = std::make_shared<update_options>();
    update_request& request = options->request;
    CLI::App* command = program.add_subcommand("update", "Replace a stamp's picture or name");
    command->add_option("SELECTOR", request.selector, "The stamp")->required();
    command->add_option("FILE", options->file, "The new picture, or - for standard input");
    CLI::Option* name = command->add_option("--name", options->name, "The new name");
    command->add_flag("--any-data", request.waived.any_data, "Store what is no picture, too");
    command->add_flag("--allow-duplicate", request.waived.used_name,
                      "Use a name that another stamp has");
    add_verify_option(*command, request.how);
    command->callback([&run, options, name] {
        if (name->count() > 0) options->request.name = options->name;
        _update(run, *options);
    });
}

}  // namespace vemra::tool
