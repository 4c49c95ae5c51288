#include "commands/commands.h"

namespace vemra::tool {

namespace {

const CLI::App& _command(const CLI::App& program, const std::string& name) {
    for (const CLI::App* command : program.get_subcommands(nullptr)) {
        if (command->get_name() == name) return *command;
    }
    throw failure(exit_code::usage, "there is no command " + name);
}

// Asked of the program itself, CLI11 would tell about the command that is running, which is this.
std::string _text_about(const CLI::App& program, const std::string& name) {
    if (!name.empty()) return _command(program, name).help("vemra-stamp");
    return program.get_formatter()->make_help(&program, "vemra-stamp", CLI::AppFormatMode::Normal);
}

void _help(const CLI::App& program, context& run, const std::string& name) {
    const std::string text = _text_about(program, name);
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
