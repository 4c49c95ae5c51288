#include "keep/delete.h"

#include "basics/text.h"
#include "commands/commands.h"
#include "commands/shapes.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

struct delete_options {
    std::vector<std::string> selectors;
    bool yes = false;
    verification how = verification::everything;
};

bool _is_wanted(context& run, const delete_options& options, const selection& selected) {
    if (options.yes) return true;
    std::string question = "Delete";
    for (const auto& [device, stamps] : selected) {
        for (const selected_stamp& one : stamps) {
            question += "\n  " + describe(one);
            if (one.length) question += ", " + std::to_string(*one.length) + " bytes";
        }
    }
    return run.user.confirm(question + "\n?", "--yes");
}

void _delete(context& run, const delete_options& options) {
    run.result["deleted"] = json::array();
    const selection selected = select_stamps(run.tokens(), options.selectors);
    if (!_is_wanted(run, options, selected)) {
        throw failure(exit_code::usage, "nothing was deleted");
    }
    delete_stamps(run.tokens(), selected, options.how, [&](const named_stamp& one) {
        run.result["deleted"].push_back(identity_json(one));
        run.out.done(quoted(one.name) + " is deleted from " + describe(one.device) +
                     verified(options.how));
    });
}

}  // namespace

void add_delete(CLI::App& program, context& run) {
    auto options = std::make_shared<delete_options>();
    CLI::App* command = program.add_subcommand("delete", "Remove stamps from their devices");
    command->add_option("SELECTOR", options->selectors, "The stamps")->required();
    command->add_flag("--yes", options->yes, "Do not ask");
    add_verify_option(*command, options->how);
    command->callback([&run, options] { _delete(run, *options); });
}

}  // namespace vemra::tool
