#include <cstdio>
#include <memory>

#include "admin/arguments.h"
#include "admin/behaviour_options.h"
#include "admin/token_folder.h"
#include "personality/knob.h"
#include "personality/profile_text.h"
#include "store/fault_file.h"
#include "store/plug.h"

namespace vemra::softtoken::admin {

namespace {

struct profile_options {
    std::string name;
    behaviour_options behaviour;
};

void _change_profile(const profile_options& options) {
    if (!options.behaviour.is_given()) {
        throw command_failure(exit_usage,
                              "nothing to change: give a --profile, a --profile-file or a single "
                              "value");
    }
    named_token token(options.name);
    settings_lock lock(token.directory);
    transaction changing(token.database);
    personality behaviour = token.database.info().behaviour;
    options.behaviour.apply_to(behaviour);
    token.database.set_behaviour(behaviour);
    token.passwords.set_most_retries(static_cast<int>(behaviour.retries));
    changing.commit();
    note_changed_settings(token.directory);
}

void _list_knobs(bool as_schema) {
    if (as_schema) {
        std::fputs(profile_schema().c_str(), stdout);
        return;
    }
    const personality usual;
    for (const knob_group& group : knob_table()) {
        std::printf("%s\n", group.name.c_str());
        for (const knob& one : group.knobs) {
            std::printf("  %s: %s\n      %s; by default %s\n", one.name.c_str(), one.help.c_str(),
                        one.values.c_str(), one.get(usual).dump().c_str());
        }
    }
}

}  // namespace

void add_profile_commands(CLI::App& program) {
    auto options = std::make_shared<profile_options>();
    CLI::App* command = program.add_subcommand("profile", "Change how a token behaves");
    add_token_name(*command, options->name);
    options->behaviour.add_to(*command);
    command->callback([options] { _change_profile(*options); });

    auto as_schema = std::make_shared<bool>(false);
    CLI::App* knobs = program.add_subcommand("knobs", "List what a profile can set");
    knobs->add_flag("--schema", *as_schema, "As the JSON schema of a profile's file");
    knobs->callback([as_schema] { _list_knobs(*as_schema); });
}

}  // namespace vemra::softtoken::admin
