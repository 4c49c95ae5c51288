#include <cstdio>
#include <filesystem>
#include <memory>

#include "admin/arguments.h"
#include "admin/behaviour_options.h"
#include "admin/password_input.h"
#include "admin/token_folder.h"
#include "command_line/text.h"
#include "personality/profile_text.h"
#include "store/durable_files.h"
#include "store/failure.h"
#include "store/fault_file.h"
#include "store/new_token.h"
#include "store/password_check.h"
#include "store/plug.h"
#include "store/random_hex.h"
#include "store/token_draft.h"
#include "store/token_files.h"
#include "store/token_owner.h"

namespace vemra::softtoken::admin {

namespace {

struct create_options {
    std::string name;
    new_token token;
    behaviour_options behaviour;
    password_input password{"", "password of the new token"};
    bool detached = false;
};

const std::string& _require_printable(const char* what, const std::string& text) {
    if (is_utf8(text) && !has_control_characters(text)) return text;
    throw command_failure(exit_usage,
                          std::string("the ") + what +
                              " has a control character, or is not UTF-8: use printable text");
}

// Two devices with one serial number and type could not be told apart by anybody.
void _require_unique(const token_info& wanted) {
    std::string root = root_directory();
    for (const std::string& name : token_names(root)) {
        try {
            token_info other = token_database(database_path(root + "/" + name)).info();
            if (other.serial_number != wanted.serial_number || other.type != wanted.type) continue;
        } catch (const failure&) {
            continue;
        }
        throw command_failure(exit_failed, "the token \"" + name +
                                               "\" has this serial number and type already: give "
                                               "another --serial or --type");
    }
}

void _create(create_options& options) {
    token_info& info = options.token.info;
    require_token_name(options.name);
    if (info.serial_number.empty()) info.serial_number = "ST-" + random_hex(6);
    _require_printable("serial number", info.serial_number);
    _require_printable("label", info.label);
    if (info.label.empty()) info.label = options.name;
    options.behaviour.apply_to(info.behaviour);
    options.token.attached = !options.detached;
    require_free_name(root_directory(), options.name);
    _require_unique(info);
    secret password;
    options.password.read_new(password);
    options.token.password = password.view();
    create_token(root_directory(), options.name, options.token);
    tell_done({options.name + ": serial number " + info.serial_number + ", type " +
               std::to_string(info.type) + (options.token.attached ? ", attached" : ", detached")});
}

std::string _wrong_with_serial(const std::string& text) {
    if (text.empty()) return "it is empty: leave the option out for a random one";
    return text.size() <= 64 ? "" : "longer than 64 bytes";
}

void _add_create(CLI::App& program) {
    auto options = std::make_shared<create_options>();
    token_info& info = options->token.info;
    info.type = 1;
    CLI::App* command = program.add_subcommand("create", "Make a token");
    command->add_option("TOKEN", options->name, "A name for the token")->required();
    command->add_option("--serial", info.serial_number, "Serial number; a random one by default")
        ->check(CLI::Validator(_wrong_with_serial, ""));
    command->add_option("--type", info.type, "Device type")
        ->capture_default_str()
        ->check(CLI::Range(0, 0x7fffffff));
    command->add_option("--label", info.label, "Label; the name by default");
    options->behaviour.add_to(*command);
    command
        ->add_option("--password-cost", options->token.password_cost,
                     "Base-2 logarithm of the password hash's work; lower only for tests")
        ->capture_default_str()
        ->check(CLI::Range(lowest_password_cost, highest_password_cost));
    command->add_flag("--detached", options->detached, "Do not plug it in yet");
    options->password.add_to(*command);
    command->callback([options] { _create(*options); });
}

const char* _state_of(const std::string& directory) {
    return find_plug(plug_path(directory)) ? "attached" : "detached";
}

void _print_row(const std::string& name, const std::string& serial, const std::string& type,
                const std::string& state, const std::string& label) {
    std::printf("%-20s %-20s %6s  %-9s %s\n", printable(name).c_str(), printable(serial).c_str(),
                type.c_str(), state.c_str(), printable(label).c_str());
}

void _list_tokens() {
    std::string root = root_directory();
    _print_row("TOKEN", "SERIAL NUMBER", "TYPE", "STATE", "LABEL");
    for (const std::string& name : token_names(root)) {
        std::string path = database_path(root + "/" + name);
        try {
            if (!identify(path)) continue;
            require_own_token(root + "/" + name);
            token_database database(path);
            token_info info = database.info();
            _print_row(name, info.serial_number, std::to_string(info.type),
                       _state_of(root + "/" + name), info.label);
        } catch (const failure& error) {
            std::fprintf(stderr, "vemra-softtoken: token skipped: %s\n",
                         printable(error.what()).c_str());
        }
    }
}

void _print_differences(const personality& behaviour) {
    const auto differing = differences(behaviour);
    std::printf("behaviour:      %s\n",
                differing.empty() ? "as by default" : "differs from the default in");
    for (const auto& [knob, value] : differing)
        std::printf("  %s: %s\n", knob.c_str(), printable(value).c_str());
}

void _info(const std::string& name) {
    named_token token(name);
    moment one_state(token.database);
    token_info info = token.database.info();
    retry_counter retries = attempts(token.passwords, token.directory);
    std::int64_t used = 0;
    std::vector<slot_summary> slots = token.slots.list();
    for (const slot_summary& slot : slots)
        used += slot.length;
    std::printf("serial number:  %s\n", printable(info.serial_number).c_str());
    std::printf("type:           %d\n", info.type);
    std::printf("label:          %s\n", printable(info.label).c_str());
    std::printf("state:          %s\n", _state_of(token.directory));
    std::printf("login scope:    %s\n", name_of(info.behaviour.login));
    std::printf("attempts left:  %d of %d%s\n", retries.left, retries.most,
                retries.left == 0 ? " (locked)" : "");
    std::printf("slots:          %zu of %lld\n", slots.size(),
                static_cast<long long>(info.behaviour.slots));
    std::printf("bytes:          %lld of %lld, at most %lld a slot\n", static_cast<long long>(used),
                static_cast<long long>(info.behaviour.capacity),
                static_cast<long long>(info.behaviour.slot_size));
    std::printf(
        "speed:          %lld microseconds a call, %s\n",
        static_cast<long long>(info.behaviour.call_microseconds),
        info.behaviour.bytes_per_second == 0
            ? "bytes at once"
            : (std::to_string(info.behaviour.bytes_per_second) + " bytes a second").c_str());
    std::printf("faults:         %zu\n", read_faults(token.directory).size());
    std::printf("key pairs:      %d\n", token.keys.keypair_count());
    std::printf("directory:      %s\n", printable(token.directory).c_str());
    _print_differences(info.behaviour);
}

// What a link leads to may be used from elsewhere and is left as it is.
void _remove_link(const std::string& name, const std::filesystem::path& link) {
    std::string target = std::filesystem::canonical(link);
    std::filesystem::remove(link);
    sync_directory(link.parent_path());
    tell_done({name + ": only the link was removed, the token is still in " + printable(target)});
}

// Under a hidden name first, so that the token disappears at once and not file by file.
void _remove(const std::string& name) {
    std::filesystem::path directory = directory_of(name);
    if (std::filesystem::is_symlink(directory)) return _remove_link(name, directory);
    directory_lock in_use(directory);
    pull_out(directory);
    std::filesystem::path hidden = directory;
    hidden.replace_filename(hidden_name(name));
    std::filesystem::rename(directory, hidden);
    sync_directory(directory.parent_path());
    std::filesystem::remove_all(hidden);
}

void _add_named(CLI::App& program, const char* command_name, const char* description,
                void (*run)(const std::string&)) {
    auto name = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand(command_name, description);
    add_token_name(*command, *name);
    command->callback([name, run] { run(*name); });
}

}  // namespace

void add_token_commands(CLI::App& program) {
    _add_create(program);
    program.add_subcommand("list", "List all tokens")->callback(_list_tokens);
    _add_named(program, "info", "Show what a token is and holds", _info);
    _add_named(program, "attach", "Plug a token in",
               [](const std::string& name) { plug_in(directory_of(name)); });
    _add_named(program, "detach", "Pull a token out",
               [](const std::string& name) { pull_out(directory_of(name)); });
    _add_named(program, "remove", "Delete a token and everything on it", _remove);
}

}  // namespace vemra::softtoken::admin
