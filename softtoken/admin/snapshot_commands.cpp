#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>

#include "admin/arguments.h"
#include "admin/token_check.h"
#include "admin/token_folder.h"
#include "command_line/text.h"
#include "store/durable_files.h"
#include "store/failure.h"
#include "store/new_token.h"
#include "store/plug.h"
#include "store/token_draft.h"
#include "store/token_files.h"
#include "store/token_owner.h"

namespace vemra::softtoken::admin {

namespace {

namespace fs = std::filesystem;

struct snapshot_options {
    std::string name;
    std::string file;
};

// Made empty and private before anything is written to it.
void _make_new_file(const std::string& path) {
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0 && errno == EEXIST) {
        throw command_failure(exit_failed, path + " exists already: name another file");
    }
    if (file < 0) fail_with_errno(path);
    close(file);
}

void _sync_file(const std::string& path) {
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) fail_with_errno(path);
    int result = fsync(file);
    close(file);
    if (result != 0) fail_with_errno(path);
}

// One consistent state, whatever other processes do meanwhile.
void _snapshot(const snapshot_options& options) {
    named_token token(options.name);
    _make_new_file(options.file);
    try {
        sqlite_statement copy(token.database.connection(), "VACUUM INTO ?1");
        sqlite_query(copy).bind_text(1, options.file).run();
        _sync_file(options.file);
        sync_directory(fs::absolute(options.file).parent_path());
    } catch (...) {
        unlink(options.file.c_str());
        throw;
    }
}

struct taken_in {
    std::string uid;
    findings damage;
};

// A database of its own in the draft, with the snapshot's bytes. What was damaged when the snapshot
// was taken is as it was; the whole has to be sound.
taken_in _take_in(const snapshot_options& options, const token_draft& made) {
    std::string path = database_path(made.path());
    _make_new_file(path);
    fs::copy_file(options.file, path, fs::copy_options::overwrite_existing);
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    token_database database(path);
    findings found = check_database(database, options.name);
    for (const finding& each : found) {
        if (!each.is_of_all) continue;
        throw command_failure(exit_failed,
                              options.file + " is damaged, nothing was changed: " + each.what);
    }
    database.connection().execute("PRAGMA journal_mode=WAL");
    transaction(database).commit();
    return {database.info().uid, found};
}

// The identity of the token in a directory; empty when the token is damaged or not there.
std::string _identity_in(const std::string& directory) {
    try {
        if (!identify(database_path(directory))) return {};
        return token_database(database_path(directory)).info().uid;
    } catch (const unknown_format&) {
        throw;
    } catch (const failure& error) {
        if (error.code() != error_code::damaged) throw;
        return {};
    }
}

bool _is_identity_in(const std::string& directory, const std::string& uid) {
    try {
        return _identity_in(directory) == uid;
    } catch (const failure&) {
        return false;  // Whoever cannot read it does not meet it beside the other.
    }
}

void _require_own_place(const std::string& place, const std::string& uid) {
    if (!fs::exists(place)) return;
    if (!identify(database_path(place)) && !find_plug(plug_path(place))) {
        throw command_failure(exit_failed, place +
                                               " is there already and is no token: restore "
                                               "under another name, or move it away");
    }
    std::string present = _identity_in(place);
    if (present.empty() || present == uid) return;
    throw command_failure(exit_failed, "the snapshot is of another token than the one in " + place +
                                           ": remove that one first, or restore under a new name");
}

// The same token twice could not be told apart.
void _require_no_twin(const std::string& name, const std::string& uid) {
    std::string root = root_directory();
    for (const std::string& other : token_names(root)) {
        if (other == name || !_is_identity_in(root + "/" + other, uid)) continue;
        throw command_failure(exit_failed, "the snapshot is of the token \"" + other +
                                               "\": restore it under that name, or remove that "
                                               "one first");
    }
}

// Puts the draft in the token's place at once; what was there is in the draft's place afterwards.
void _put_in_place(const token_draft& made, const std::string& place) {
    sync_directory(made.path());
    unsigned int flags = fs::exists(place) ? RENAME_EXCHANGE : RENAME_NOREPLACE;
    if (renameat2(AT_FDCWD, made.path().c_str(), AT_FDCWD, place.c_str(), flags) != 0) {
        fail_with_errno(place);
    }
    sync_directory(root_directory());
}

// A database in use has a log beside it, without which it is not whole.
void _require_snapshot(const std::string& path) {
    // A pipe would be waited for, and is read more than once.
    if (fs::exists(path) && !fs::is_regular_file(path)) {
        throw command_failure(exit_usage,
                              path + " is no plain file: name a file that \"snapshot\" made");
    }
    require_token_database(path);
    if (!fs::exists(path + "-wal")) return;
    throw command_failure(exit_failed,
                          path + " is a token in use and no snapshot: make one with \"snapshot\"");
}

// A directory in the link's place would hide the token that the link leads to.
void _require_no_link(const std::string& place) {
    if (!fs::is_symlink(place)) return;
    throw command_failure(exit_failed, place +
                                           " is a link: restore where it leads, with "
                                           "VEMRA_SOFTTOKEN_DIR, or remove the link first");
}

void _tell_of_damage(const snapshot_options& options, const findings& damage) {
    for (const finding& each : damage)
        std::fprintf(stderr, "vemra-softtoken: %s: as in the snapshot: %s: %s\n",
                     options.name.c_str(), printable(each.what).c_str(),
                     printable(each.advice).c_str());
}

// A damaged token is kept, since something may still be saved from it: the draft has the name that
// it is kept under, so that it has that name from the moment of the exchange on.
void _restore(const snapshot_options& options) {
    require_token_name(options.name);
    _require_snapshot(options.file);
    std::string root = root_directory();
    std::string place = root + "/" + options.name;
    make_root(root);
    _require_no_link(place);
    bool present = fs::exists(place);
    if (present) require_own_token(place);
    bool damaged = present && _identity_in(place).empty();
    token_draft made(root,
                     damaged ? hidden_name_of_damaged(options.name) : hidden_name(options.name));
    taken_in taken = _take_in(options, made);
    _require_own_place(place, taken.uid);
    _require_no_twin(options.name, taken.uid);
    _sync_file(database_path(made.path()));
    std::optional<directory_lock> replaced;
    if (present) replaced.emplace(place);
    if (!present || find_plug(plug_path(place))) plug_in(made.path());
    if (present) give_to_owner_of(database_path(place), made.descriptor());
    _put_in_place(made, place);
    _tell_of_damage(options, taken.damage);
    if (!damaged) return;
    made.keep();
    tell_done({options.name + ": the damaged token was kept in " + printable(made.path())});
}

void _add(CLI::App& program, const char* name, const char* description,
          void (*run)(const snapshot_options&)) {
    auto options = std::make_shared<snapshot_options>();
    CLI::App* command = program.add_subcommand(name, description);
    add_token_name(*command, options->name);
    command->add_option("FILE", options->file, "The snapshot")->required();
    command->callback([options, run] { run(*options); });
}

}  // namespace

void add_snapshot_commands(CLI::App& program) {
    _add(program, "snapshot", "Write the whole token to a new file", _snapshot);
    _add(program, "restore", "Bring a token back to a snapshot", _restore);
}

}  // namespace vemra::softtoken::admin
