#include "keep/append.h"

#include "basics/hex.h"
#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "files/file.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

struct append_options {
    append_request request;
    std::string file;
};

void _append(context& run, append_options& options) {
    options.request.data = shared_bytes(read_stamp_file(options.file));
    const pictured_stamp appended = append_stamp(run.tokens(), options.request);
    run.result["stamp"] = stamp_json(appended);
    const std::string done = quoted(appended.one.name) + " is on " + describe(appended.one.device) +
                             verified(options.request.how);
    run.out.remember(done);
    run.out.print(to_hex(appended.one.uuid) + "\n");
    run.out.note(done);
}

}  // namespace

void add_append(CLI::App& program, context& run) {
    auto options = std::make_shared<append_options>();
    append_request& request = options->request;
    CLI::App* command = program.add_subcommand("append", "Put a new stamp on a device");
    add_device_options(*command, request.device);
    command->add_option("--name", request.name, "The stamp's name")->required();
    command->add_option("FILE", options->file, "The picture, or - for standard input")->required();
    command->add_flag("--any-data", request.waived.any_data, "Store what is no picture, too");
    command->add_flag("--allow-duplicate", request.waived.used_name,
                      "Use a name that another stamp has");
    add_verify_option(*command, request.how);
    command->callback([&run, options] { _append(run, *options); });
}

}  // namespace vemra::tool
