#include "store/behaviour_table.h"

#include <optional>

#include "personality/profile_text.h"
#include "store/failure.h"
#include "store/sqlite_statement.h"
#include "store/token_format.h"
#include "store/token_info.h"

namespace vemra::softtoken {

namespace {

constexpr const char* tables = R"(
CREATE TABLE behaviour (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    knobs TEXT NOT NULL);
CREATE TABLE wear (
    slot INTEGER PRIMARY KEY,
    writes INTEGER NOT NULL);
CREATE TABLE unreturned (
    plugged_at INTEGER NOT NULL,
    bytes INTEGER NOT NULL);
)";

[[noreturn]] void _refuse(const sqlite_connection& connection, const std::string& what) {
    throw failure(error_code::damaged, connection.path() + ": " + what);
}

personality _from_columns(sqlite_connection& connection) {
    sqlite_statement statement(
        connection,
        "SELECT login_scope, capacity, slot_size, slots, call_microseconds, bytes_per_second,"
        " (SELECT retries FROM password) FROM token");
    sqlite_query query(statement);
    if (!query.step()) _refuse(connection, "no token row");
    personality read;
    const std::optional<login_scope> login = login_scope_from(query.text(0));
    if (!login) _refuse(connection, "unknown login scope");
    read.login = *login;
    read.capacity = query.integer(1);
    read.slot_size = query.integer(2);
    read.slots = query.integer(3);
    read.call_microseconds = query.integer(4);
    read.bytes_per_second = query.integer(5);
    read.retries = query.integer(6);
    if (!read.limits_are_possible()) _refuse(connection, "limits out of range");
    return read;
}

void _store_columns(sqlite_connection& connection, const personality& behaviour) {
    sqlite_statement statement(
        connection,
        "UPDATE token SET capacity = ?1, slot_size = ?2, slots = ?3, call_microseconds = ?4,"
        " bytes_per_second = ?5, login_scope = ?6");
    sqlite_query(statement)
        .bind(1, behaviour.capacity)
        .bind(2, behaviour.slot_size)
        .bind(3, behaviour.slots)
        .bind(4, behaviour.call_microseconds)
        .bind(5, behaviour.bytes_per_second)
        .bind_text(6, name_of(behaviour.login))
        .run();
}

}  // namespace

personality stored_behaviour(sqlite_connection& connection) {
    personality read = _from_columns(connection);
    if (format_version(connection) != version_with_behaviour) return read;
    sqlite_statement statement(connection, "SELECT knobs FROM behaviour");
    sqlite_query query(statement);
    if (!query.step()) return read;
    try {
        apply_kept_text(read, query.text(0));
    } catch (const bad_profile& error) {
        _refuse(connection, std::string("behaviour: ") + error.what());
    }
    return read;
}

bool store_behaviour(sqlite_connection& connection, const personality& behaviour) {
    _store_columns(connection, behaviour);
    const std::string text = kept_text(behaviour);
    const bool has_table = format_version(connection) == version_with_behaviour;
    if (!has_table && text == no_kept_text) return false;
    if (!has_table) {
        connection.execute(tables);
        connection.execute("PRAGMA user_version=" + std::to_string(version_with_behaviour));
    }
    sqlite_statement statement(connection, "INSERT OR REPLACE INTO behaviour VALUES (1, ?1)");
    sqlite_query(statement).bind_text(1, text).run();
    return !has_table;
}

}  // namespace vemra::softtoken
