#include "store/token_database.h"

#include "store/failure.h"
#include "store/token_files.h"

namespace vemra::softtoken {

namespace {

const std::string& _checked(const std::string& path) {
    require_token_database(path);
    return path;
}

}  // namespace

token_database::token_database(const std::string& path)
    : connection_(_checked(path), SQLITE_OPEN_READWRITE) {
    // Full synchronisation makes each commit durable before the call returns. A process that ends
    // without closing leaves its log behind; the next one to open the token takes it in.
    connection_.execute(
        "PRAGMA synchronous=FULL; PRAGMA cache_size=-4096;"
        "PRAGMA foreign_keys=ON; PRAGMA trusted_schema=OFF;");
}

token_info token_database::info() {
    sqlite_statement statement(
        connection_,
        "SELECT uid, serial_number, type, label, login_scope, capacity, slot_size, slots,"
        " call_microseconds, bytes_per_second FROM token");
    sqlite_query query(statement);
    if (!query.step()) throw failure(error_code::damaged, connection_.path() + ": no token row");
    token_info info;
    info.uid = query.text(0);
    info.serial_number = query.text(1);
    info.type = query.small(2);
    info.label = query.text(3);
    const std::optional<login_scope> login = login_scope_from(query.text(4));
    if (!login) throw failure(error_code::damaged, connection_.path() + ": unknown login scope");
    info.login = *login;
    info.limits = {query.integer(5), query.integer(6), query.integer(7), query.integer(8),
                   query.integer(9)};
    if (!info.limits.are_possible()) {
        throw failure(error_code::damaged, connection_.path() + ": limits out of range");
    }
    return info;
}

void token_database::set_limits(const token_limits& limits) {
    sqlite_statement statement(
        connection_,
        "UPDATE token SET capacity = ?1, slot_size = ?2, slots = ?3, call_microseconds = ?4,"
        " bytes_per_second = ?5");
    sqlite_query(statement)
        .bind(1, limits.capacity)
        .bind(2, limits.slot_size)
        .bind(3, limits.slots)
        .bind(4, limits.call_microseconds)
        .bind(5, limits.bytes_per_second)
        .run();
}

transaction::transaction(token_database& database) : database_(database) {
    sqlite_query(database.begin_).run();
}

transaction::~transaction() {
    if (!open_) return;
    try {
        sqlite_query(database_.rollback_).run();
    } catch (const std::exception&) {
        // Some failures have rolled back already; then there is nothing to undo.
    }
}

void transaction::commit() {
    sqlite_query(database_.commit_).run();
    open_ = false;
}

}  // namespace vemra::softtoken
