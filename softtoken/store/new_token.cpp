#include "store/new_token.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "store/behaviour_table.h"
#include "store/durable_files.h"
#include "store/failure.h"
#include "store/plug.h"
#include "store/random_hex.h"
#include "store/token_database.h"
#include "store/token_draft.h"
#include "store/token_files.h"

namespace vemra::softtoken {

namespace {

constexpr std::size_t longest_name = 64;

// Large pages keep a seal picture in few pieces.
constexpr const char* schema = R"(
CREATE TABLE token (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    uid TEXT NOT NULL,
    serial_number TEXT NOT NULL,
    type INTEGER NOT NULL,
    label TEXT NOT NULL,
    login_scope TEXT NOT NULL,
    capacity INTEGER NOT NULL,
    slot_size INTEGER NOT NULL,
    slots INTEGER NOT NULL,
    call_microseconds INTEGER NOT NULL,
    bytes_per_second INTEGER NOT NULL);
CREATE TABLE password (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    cost INTEGER NOT NULL,
    salt BLOB NOT NULL,
    hash BLOB NOT NULL,
    retries INTEGER NOT NULL,
    retries_left INTEGER NOT NULL);
CREATE TABLE slot (
    id INTEGER PRIMARY KEY,
    attributes BLOB NOT NULL,
    length INTEGER NOT NULL,
    bytes BLOB,
    sum INTEGER);
CREATE TABLE keypair (
    id INTEGER PRIMARY KEY,
    public_key BLOB NOT NULL,
    private_key BLOB NOT NULL);
CREATE TABLE certificate (
    id INTEGER PRIMARY KEY,
    keypair INTEGER NOT NULL REFERENCES keypair (id) ON DELETE CASCADE,
    der BLOB NOT NULL);
)";

void _insert_token(sqlite_connection& connection, const new_token& token) {
    const token_info& info = token.info;
    sqlite_statement statement(
        connection, "INSERT INTO token VALUES (1, ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)");
    std::string uid = random_hex(16);
    sqlite_query(statement)
        .bind_text(1, uid)
        .bind_text(2, info.serial_number)
        .bind(3, info.type)
        .bind_text(4, info.label)
        .bind_text(5, name_of(info.behaviour.login))
        .bind(6, info.behaviour.capacity)
        .bind(7, info.behaviour.slot_size)
        .bind(8, info.behaviour.slots)
        .bind(9, info.behaviour.call_microseconds)
        .bind(10, info.behaviour.bytes_per_second)
        .run();
}

void _insert_password(sqlite_connection& connection, const new_token& token) {
    sqlite_statement statement(connection, "INSERT INTO password VALUES (1, ?1, ?2, ?3, ?4, ?4)");
    password_hash hash = hash_password(token.password, token.password_cost);
    sqlite_query(statement)
        .bind(1, hash.cost)
        .bind_bytes(2, hash.salt.data(), hash.salt.size())
        .bind_bytes(3, hash.hash.data(), hash.hash.size())
        .bind(4, token.info.behaviour.retries)
        .run();
}

void _fill_database(const std::string& path, const new_token& token) {
    // The file is there before SQLite sees it, so that it is private from its first moment;
    // SQLite gives its companions the same mode.
    int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0) fail_with_errno(path);
    close(file);
    sqlite_connection connection(path, SQLITE_OPEN_READWRITE);
    connection.execute(
        "PRAGMA page_size=8192; BEGIN IMMEDIATE;"
        "PRAGMA application_id=" +
        std::to_string(application_id) + "; PRAGMA user_version=" + std::to_string(schema_version));
    connection.execute(schema);
    _insert_token(connection, token);
    _insert_password(connection, token);
    store_behaviour(connection, token.info.behaviour);
    connection.execute("COMMIT; PRAGMA journal_mode=WAL");
}

// With those above it, each durable. What goes wrong shows when the root is made in it.
void _make_directory(const std::filesystem::path& directory) {
    std::error_code error;
    if (std::filesystem::exists(directory, error) || !directory.has_relative_path()) return;
    _make_directory(directory.parent_path());
    if (std::filesystem::create_directory(directory, error)) {
        sync_directory(directory.parent_path());
    }
}

}  // namespace

void make_root(const std::string& root) {
    if (root.empty()) {
        throw failure(error_code::storage_failed,
                      "no directory for tokens: set VEMRA_SOFTTOKEN_DIR or HOME");
    }
    std::filesystem::path place = std::filesystem::absolute(root);
    // A slash at the end is no name.
    if (!place.has_filename()) place = place.parent_path();
    _make_directory(place.parent_path());
    if (mkdir(root.c_str(), 0700) == 0) {
        sync_directory(place.parent_path());
    } else if (errno != EEXIST) {
        fail_with_errno(root);
    }
}

void require_token_name(const std::string& name) {
    constexpr const char* allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    if (!name.empty() && name.size() <= longest_name && name[0] != '.' && name[0] != '-' &&
        name.find_first_not_of(allowed) == std::string::npos) {
        return;
    }
    throw failure(error_code::bad_argument,
                  "a token's name has 1 to 64 letters, digits, dots, underscores and dashes, and "
                  "begins with a letter, a digit or an underscore");
}

void require_free_name(const std::string& root, const std::string& name) {
    std::string place = root + "/" + name;
    // A link that leads nowhere takes a name too.
    if (!std::filesystem::exists(std::filesystem::symlink_status(place))) return;
    throw failure(error_code::storage_failed,
                  place + " is there already: choose another name, or remove that token first");
}

void create_token(const std::string& root, const std::string& name, const new_token& token) {
    require_token_name(name);
    make_root(root);
    require_free_name(root, name);
    std::string place = root + "/" + name;
    token_draft draft(root, hidden_name(name));
    _fill_database(database_path(draft.path()), token);
    if (token.attached) plug_in(draft.path());
    sync_directory(draft.path());
    if (rename(draft.path().c_str(), place.c_str()) != 0) fail_with_errno(place);
    sync_directory(root);
}

}  // namespace vemra::softtoken
