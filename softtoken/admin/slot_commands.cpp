#include <cstdio>
#include <limits>
#include <memory>

#include "admin/arguments.h"
#include "admin/file_input.h"
#include "admin/file_output.h"
#include "admin/token_folder.h"

namespace vemra::softtoken::admin {

namespace {

struct slot_options {
    std::string name;
    int slot = 0;
    std::string file;
};

void _list_slots(const std::string& name) {
    named_token token(name);
    moment one_state(token.database);
    std::printf("%6s %12s  %-10s %s\n", "SLOT", "BYTES", "ATTRIBUTES", "STATE");
    for (const slot_summary& slot : token.slots.list()) {
        std::printf("%6d %12d  ", slot.id, slot.length);
        for (char byte : slot.attributes)
            std::printf("%02x", static_cast<unsigned char>(byte));
        std::printf("   %s\n", slot.written ? "written" : "created");
    }
}

// Of a damaged slot people want what is left. They are told that it is no more than that.
void _dump(const slot_options& options) {
    named_token token(options.name);
    std::optional<stored_slot> slot = token.slots.stored(options.slot);
    if (!slot) {
        throw command_failure(exit_failed, "no slot " + std::to_string(options.slot) +
                                               ": see \"vemra-softtoken slots " + options.name +
                                               "\"");
    }
    write_private_file(options.file, slot->bytes);
    if (slot->damage.empty()) return;
    throw command_failure(exit_failed, "slot " + std::to_string(options.slot) +
                                           " is damaged: " + slot->damage + "; " + options.file +
                                           " has the bytes that lie there now");
}

void _load(const slot_options& options) {
    named_token token(options.name);
    const personality limits = token.database.info().behaviour;
    std::string bytes = read_file(options.file, limits.slot_size);
    transaction changing(token.database);
    token.slots.replace(options.slot, bytes, limits);
    changing.commit();
}

void _add(CLI::App& program, const char* name, const char* description,
          void (*run)(const slot_options&)) {
    auto options = std::make_shared<slot_options>();
    CLI::App* command = program.add_subcommand(name, description);
    add_token_name(*command, options->name);
    command->add_option("SLOT", options->slot, "The slot's number")
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int>::max()));
    command->add_option("FILE", options->file, "The file")->required();
    command->callback([options, run] { run(*options); });
}

}  // namespace

void add_slot_commands(CLI::App& program) {
    auto name = std::make_shared<std::string>();
    CLI::App* slots = program.add_subcommand("slots", "List a token's data slots");
    add_token_name(*slots, *name);
    slots->callback([name] { _list_slots(*name); });
    _add(program, "dump", "Write a slot's bytes to a file", _dump);
    _add(program, "load", "Make a file's bytes a slot, whatever it held", _load);
}

}  // namespace vemra::softtoken::admin
