#include "commands/password_source.h"

#include "commands/commands.h"
#include "keep/device_lock.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

void _verify(context& run, const device_options& wanted) {
    const device_id device = run.tokens().find_device(wanted.serial, wanted.type);
    const device_lock lock(device, device_lock::kind::exclusive, run.options.timeout);
    verify_password(run, device);
    run.result["device"] = device_json(device);
    run.result["right"] = true;
    run.out.print("right\n");
}

}  // namespace

void add_verify_password(CLI::App& program, context& run) {
    auto device = std::make_shared<device_options>();
    CLI::App* command =
        program.add_subcommand("verify-password", "Tell whether a password is right");
    add_device_options(*command, *device);
    command->callback([&run, device] { _verify(run, *device); });
}

}  // namespace vemra::tool
