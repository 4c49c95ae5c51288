#include "command_line/usage.h"

#include <vector>

#include "command_line/text.h"

namespace vemra {

namespace {

const CLI::App* _chosen_in(const CLI::App& program) {
    const std::vector<CLI::App*> chosen = program.get_subcommands();
    return chosen.empty() ? nullptr : chosen.front();
}

// What asks for a command and was given none.
bool _wants_command(const CLI::App& program) {
    const CLI::App* chosen = _chosen_in(program);
    if (chosen != nullptr) return _wants_command(*chosen);
    return program.get_require_subcommand_min() > 0;
}

}  // namespace

std::string chosen_command(const CLI::App& program) {
    const CLI::App* chosen = _chosen_in(program);
    if (chosen == nullptr) return {};
    const std::string further = chosen_command(*chosen);
    return chosen->get_name() + (further.empty() ? "" : " " + further);
}

std::string usage_reason(const CLI::App& program, const CLI::ParseError& error) {
    const std::vector<std::string> left = program.remaining(true);
    if (error.get_name() == "RequiredError" && _wants_command(program)) {
        return left.empty() ? "give a command"
                            : "there is no command or option " + printable(left.front());
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr) return printable(error.what());
    // The library names them in reverse.
    std::string reason = "not expected:";
    for (const std::string& word : left)
        reason += " " + printable(word);
    return reason;
}

}  // namespace vemra
