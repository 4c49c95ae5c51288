#include "commands/commands.h"

namespace vemra::tool {

namespace {

const CLI::App& _command(const CLI::App& program, const std::string& name) {
    for (const CLI::App* command : program.get_subcommands(nullptr)) {
        if (command->get_name() == name) return *command;
    }
    throw failure(exit_code::usage, "there is no command " + name);
}

void _help(const CLI::App& program, context& run, const std::string& name) {
    std::string text;
    if (name.empty()) {
        text = program.help("vemra-stamp", CLI::AppFormatMode::All);
    } else {
        text = _command(program, name).help("vemra-stamp");
    }
    run.result["text"] = text;
    run.out.print(text);
}

}  // namespace

void add_help(CLI::App& program, context& run) {
    auto name = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("help", "Tell how to use a command");
    command->add_option("COMMAND", *name, "The command; all of them when left out");
    command->callback([&program, &run, name] { _help(program, run, *name); });
}

}  // namespace vemra::tool
