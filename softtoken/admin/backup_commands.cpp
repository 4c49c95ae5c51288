#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_folder.h"
#include "store/durable_files.h"
#include "store/new_token.h"
#include "store/plug.h"
#include "store/token_files.h"

namespace vemra::softtoken::admin {

namespace {

namespace fs = std::filesystem;

struct file_options {
    std::string name;
    std::string file;
    int slot = 0;
};

void _require_absent(const std::string& path) {
    if (fs::exists(path)) {
        throw command_failure(exit_failed, path + " exists already: name another file");
    }
}

void _sync_file(const std::string& path) {
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) fail_with_errno(path);
    int result = fsync(file);
    close(file);
    if (result != 0) fail_with_errno(path);
}

void _make_private(const std::string& path) {
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

// One consistent state, whatever other processes do meanwhile.
void _snapshot(const file_options& options) {
    _require_absent(options.file);
    named_token token(options.name);
    sqlite_statement copy(token.database.connection(), "VACUUM INTO ?1");
    sqlite_query(copy).bind_text(1, options.file).run();
    _make_private(options.file);
    _sync_file(options.file);
}

// Puts a finished directory in the place of the token's, whether there is one or not.
void _put_in_place(const std::string& draft, const std::string& place) {
    if (!fs::exists(place)) {
        fs::rename(draft, place);
        return;
    }
    if (renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, place.c_str(), RENAME_EXCHANGE) != 0) {
        fail_with_errno(place);
    }
    fs::remove_all(draft);
}

void _require_same_token(const std::string& place, const std::string& uid) {
    std::string path = database_path(place);
    if (!identify(path) || token_database(path).info().uid == uid) return;
    throw command_failure(exit_failed, "the snapshot is of another token than the one in " + place +
                                           ": remove that one first, or restore under a new name");
}

void _restore(const file_options& options) {
    require_token_name(options.name);
    std::string uid = token_database(options.file).info().uid;
    std::string place = root_directory() + "/" + options.name;
    _require_same_token(place, uid);
    std::string draft = root_directory() + "/." + options.name + "." + random_hex(8);
    bool attached = !fs::exists(place) || find_plug(plug_path(place)).has_value();
    fs::create_directories(draft);
    fs::permissions(draft, fs::perms::owner_all);
    fs::copy_file(options.file, database_path(draft));
    _make_private(database_path(draft));
    token_database(database_path(draft)).connection().execute("PRAGMA journal_mode=WAL");
    _sync_file(database_path(draft));
    if (attached) plug_in(draft);
    if (fs::exists(place)) pull_out(place);
    _put_in_place(draft, place);
    sync_directory(root_directory());
}

void _dump(const file_options& options) {
    named_token token(options.name);
    int length = token.slots.length(options.slot).value_or(-1);
    if (length < 0) {
        throw command_failure(exit_failed, "no slot " + std::to_string(options.slot) +
                                               ": see \"vemra-softtoken slots " + options.name +
                                               "\"");
    }
    std::string bytes(static_cast<std::size_t>(length), '\0');
    token.slots.read(options.slot, reinterpret_cast<unsigned char*>(bytes.data()), length);
    std::ofstream file(options.file, std::ios::binary | std::ios::trunc);
    file << bytes;
    if (!file.flush()) fail_with_errno(options.file);
}

void _load(const file_options& options) {
    std::ifstream file(options.file, std::ios::binary);
    if (!file) fail_with_errno(options.file);
    std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    named_token token(options.name);
    transaction changing(token.database);
    int length = static_cast<int>(bytes.size());
    if (token.slots.length(options.slot)) token.slots.remove(options.slot);
    token.slots.create(options.slot, reinterpret_cast<const unsigned char*>(usual_attributes),
                       length, token.database.info().limits);
    token.slots.write(options.slot, bytes.data(), length);
    changing.commit();
}

CLI::App* _add(CLI::App& program, const char* name, const char* description, bool with_slot,
               void (*run)(const file_options&)) {
    auto options = std::make_shared<file_options>();
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("TOKEN", options->name, "The token's name")->required();
    if (with_slot) {
        command->add_option("SLOT", options->slot, "The slot's number")
            ->required()
            ->check(CLI::NonNegativeNumber);
    }
    command->add_option("FILE", options->file, "The file")->required();
    command->callback([options, run] { run(*options); });
    return command;
}

}  // namespace

void add_backup_commands(CLI::App& program) {
    _add(program, "snapshot", "Write the whole token to a new file", false, _snapshot);
    _add(program, "restore", "Bring a token back to a snapshot", false, _restore);
    _add(program, "dump", "Write a slot's bytes to a file", true, _dump);
    _add(program, "load", "Make a file's bytes a slot, whatever it held", true, _load);
}

}  // namespace vemra::softtoken::admin
