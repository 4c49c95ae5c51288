#include "store/sqlite_statement.h"

#include <new>

namespace vemra::softtoken {

sqlite_query::sqlite_query(sqlite_statement& statement) : connection_(statement.connection_) {
    if (statement.statement_ == nullptr) {
        check(sqlite3_prepare_v3(connection_.raw(), statement.sql_, -1, SQLITE_PREPARE_PERSISTENT,
                                 &statement.statement_, nullptr));
    }
    statement_ = statement.statement_;
}

sqlite_query::~sqlite_query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

sqlite_query& sqlite_query::bind(int index, std::int64_t value) {
    check(sqlite3_bind_int64(statement_, index, value));
    return *this;
}

sqlite_query& sqlite_query::bind_text(int index, std::string_view value) {
    check(sqlite3_bind_text64(statement_, index, value.data(), value.size(), SQLITE_STATIC,
                              SQLITE_UTF8));
    return *this;
}

sqlite_query& sqlite_query::bind_bytes(int index, const void* data, std::size_t size) {
    // A null pointer would bind NULL; no bytes are still bytes.
    const void* bytes = size == 0 ? "" : data;
    check(sqlite3_bind_blob64(statement_, index, bytes, size, SQLITE_STATIC));
    return *this;
}

bool sqlite_query::step() {
    int result = sqlite3_step(statement_);
    if (result == SQLITE_ROW) return true;
    if (result == SQLITE_DONE) return false;
    connection_.fail(result);
}

std::int64_t sqlite_query::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

bool sqlite_query::is_null(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

bool sqlite_query::is_integer(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_INTEGER;
}

int sqlite_query::columns() const {
    return sqlite3_column_count(statement_);
}

std::string sqlite_query::text(int column) const {
    return std::string(bytes(column));
}

std::string_view sqlite_query::bytes(int column) const {
    const void* data = sqlite3_column_blob(statement_, column);
    if (data == nullptr && sqlite3_errcode(connection_.raw()) == SQLITE_NOMEM)
        throw std::bad_alloc();
    auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return {static_cast<const char*>(data), data == nullptr ? 0 : size};
}

void sqlite_query::check(int result) const {
    if (result != SQLITE_OK) connection_.fail(result);
}

}  // namespace vemra::softtoken
