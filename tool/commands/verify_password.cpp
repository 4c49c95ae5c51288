#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"
#include "keep/locked_device.h"

namespace vemra::tool {

namespace {

void _verify(context& run, const device_choice& wanted) {
    const device_id device = run.tokens().find_device(wanted);
    lock_with_password(run.tokens(), device, [](const locked_device&) {});
    run.result["device"] = device_json(device);
    run.result["right"] = true;
    run.out.remember("the password of " + describe(device) + " is right");
    run.out.print("right\n");
}

}  // namespace

void add_verify_password(CLI::App& program, context& run) {
    auto device = std::make_shared<device_choice>();
    CLI::App* command =
        program.add_subcommand("verify-password", "Tell whether a password is right");
    add_device_options(*command, *device);
    command->callback([&run, device] { _verify(run, *device); });
}

}  // namespace vemra::tool
