#include <cstdio>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_folder.h"
#include "command_line/text.h"
#include "store/fault_file.h"

namespace vemra::softtoken::admin {

namespace {

struct fault_options {
    std::string name;
    std::string text;
    std::string recipe;
};

std::string _text_of_recipe(const std::string& name) {
    for (const fault_recipe& recipe : fault_recipes()) {
        if (name == recipe.name) return recipe.text;
    }
    throw command_failure(exit_usage,
                          "no recipe \"" + name + "\": see \"vemra-softtoken fault recipes\"");
}

void _add(const fault_options& options) {
    if (options.text.empty() == options.recipe.empty()) {
        throw command_failure(exit_usage, "give either the text of a fault or a --recipe");
    }
    fault added =
        parse_token_fault(options.recipe.empty() ? options.text : _text_of_recipe(options.recipe));
    std::string directory = directory_of(options.name);
    settings_lock lock(directory);
    std::vector<fault> faults = read_faults(directory);
    faults.push_back(added);
    write_faults(directory, faults);
}

void _clear(const std::string& name) {
    std::string directory = directory_of(name);
    settings_lock lock(directory);
    write_faults(directory, {});
}

void _list_faults(const std::string& name) {
    for (const fault& each : read_faults(directory_of(name))) {
        std::printf("%s\n", printable(each.text).c_str());
    }
}

void _list_recipes() {
    for (const fault_recipe& recipe : fault_recipes()) {
        std::printf("%-18s %-42s %s\n", recipe.name, recipe.text, recipe.meaning);
    }
}

}  // namespace

void add_fault_commands(CLI::App& program) {
    CLI::App* command = program.add_subcommand("fault", "Make a token fail on demand");
    command->require_subcommand(1);

    auto options = std::make_shared<fault_options>();
    CLI::App* add = command->add_subcommand("add", "Add a fault to a token");
    add_token_name(*add, options->name);
    add->add_option("FAULT", options->text,
                    "FUNCTION [slot=N] [call=N] [chance=P seed=N] ACTION [lasting]; ACTION is\n"
                    "return=CODE, null, delay=MS, unplug, die=before, die=after or torn=BYTES");
    add->add_option("--recipe", options->recipe, "A fault by name; see \"fault recipes\"");
    add->callback([options] { _add(*options); });

    CLI::App* list = command->add_subcommand("list", "List a token's faults");
    add_token_name(*list, options->name);
    list->callback([options] { _list_faults(options->name); });

    CLI::App* clear = command->add_subcommand("clear", "Take all faults off a token");
    add_token_name(*clear, options->name);
    clear->callback([options] { _clear(options->name); });

    command->add_subcommand("recipes", "List the named faults")->callback(_list_recipes);
}

}  // namespace vemra::softtoken::admin
