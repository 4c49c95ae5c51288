#include "basics/text.h"
#include "commands/commands.h"
#include "commands/number_check.h"
#include "commands/shapes.h"
#include "keep/describe.h"

namespace vemra::tool {

void add_device_options(CLI::App& command, device_choice& device) {
    command.add_option("--device", device.serial, "Serial number of the device")->type_name("SN");
    command.add_option("--device-type", device.type, "Type of the device")
        ->check(number_from_0())
        ->type_name("N");
}

CLI::Option* add_lock_option(CLI::App& command, context& run) {
    return command.add_flag("--no-lock", run.options.no_lock,
                            "Do not wait for another run that is changing the device");
}

void add_verify_option(CLI::App& command, verification& how) {
    command
        .add_option_function<std::string>(
            "--verify",
            [&how](const std::string& text) {
                how = text == "changed" ? verification::changed : verification::everything;
            },
            "What is read after a change: everything (when left out), or changed alone")
        ->check(CLI::IsMember({"everything", "changed"}))
        ->type_name("WHAT");
}

std::string verified(verification how) {
    return how == verification::changed ? ", verified alone" : ", verified";
}

void warn_of_unread(context& run, const held_stamps& held) {
    run.result["unreadable"] = json::array();
    warn_of_errors(run, held.errors);
    for (const stamp& one : held.stamps) {
        if (one.is_readable()) continue;
        run.out.warn(describe_unreadable(one));
        run.result["unreadable"].push_back(unreadable_json(one));
        run.code = exit_code::partial;
    }
}

void warn_of_errors(context& run, const std::vector<std::string>& errors) {
    for (const std::string& error : errors) {
        run.out.warn(printable(error));
        run.code = exit_code::partial;
    }
}

}  // namespace vemra::tool
