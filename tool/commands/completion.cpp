#include "commands/commands.h"

namespace vemra::tool {

namespace {

std::string _option_names(const CLI::App& command) {
    std::string names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names += " --" + name;
        }
        for (const std::string& name : option->get_snames()) {
            names += " -" + name;
        }
    }
    return names;
}

// What may stand behind a command beside its options; file names are the shell's own affair.
std::string _arguments(const CLI::App& command, const std::string& commands) {
    if (command.get_name() == "completion") return " bash";
    if (command.get_name() == "recovery") return " list show restore discard";
    return command.get_name() == "help" ? commands : "";
}

// Made from the commands themselves, so that it knows neither more nor fewer.
std::string _bash(const CLI::App& program) {
    std::string commands;
    std::string cases;
    for (const CLI::App* command : program.get_subcommands(nullptr)) {
        commands += " " + command->get_name();
    }
    for (const CLI::App* command : program.get_subcommands(nullptr)) {
        cases += "        " + command->get_name() + ") words=\"$common" + _option_names(*command) +
                 _arguments(*command, commands) + "\" ;;\n";
    }
    return "# bash completion for vemra-stamp\n"
           "_vemra_stamp() {\n"
           "    local common=\"" +
           _option_names(program) +
           "\"\n"
           "    local words=\"$common" +
           commands +
           "\" word command=\"\"\n"
           "    local current=\"${COMP_WORDS[COMP_CWORD]}\"\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        if [[ $word != -* && \" " +
           commands +
           " \" == *\" $word \"* ]]; then\n"
           "            command=$word\n"
           "            break\n"
           "        fi\n"
           "    done\n"
           "    case $command in\n" +
           cases +
           "    esac\n"
           "    COMPREPLY=()\n"
           "    while IFS= read -r word; do\n"
           "        COMPREPLY+=(\"$word\")\n"
           "    done < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -o default -F _vemra_stamp vemra-stamp\n";
}

}  // namespace

void add_completion(CLI::App& program, context& run) {
    auto shell = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("completion", "Print the completion of a shell");
    command->add_option("SHELL", *shell, "bash")->required()->check(CLI::IsMember({"bash"}));
    command->callback([&run, &program, shell] {
        const std::string text = _bash(program);
        run.result["text"] = text;
        run.out.print(text);
    });
}

}  // namespace vemra::tool
