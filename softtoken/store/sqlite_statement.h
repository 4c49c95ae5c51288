/** A prepared statement that is kept, and one run of it. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "store/sqlite_connection.h"

namespace vemra::softtoken {

/* Prepared at its first run and kept until it is destroyed, before its connection. */
class sqlite_statement {
public:
    sqlite_statement(sqlite_connection& connection, const char* sql)
        : connection_(connection), sql_(sql) {}
    ~sqlite_statement() { sqlite3_finalize(statement_); }
    sqlite_statement(const sqlite_statement&) = delete;
    sqlite_statement& operator=(const sqlite_statement&) = delete;

private:
    friend class sqlite_query;

    sqlite_connection& connection_;
    const char* sql_;
    sqlite3_stmt* statement_ = nullptr;
};

/* One run, from the binding of its parameters to the end of the scope. Bound bytes must outlive it.
 */
class sqlite_query {
public:
    explicit sqlite_query(sqlite_statement& statement);
    ~sqlite_query();
    sqlite_query(const sqlite_query&) = delete;
    sqlite_query& operator=(const sqlite_query&) = delete;

    /* The parameter ?index, counted from 1. */
    sqlite_query& bind(int index, std::int64_t value);
    sqlite_query& bind_text(int index, std::string_view value);
    sqlite_query& bind_bytes(int index, const void* data, std::size_t size);

    /* True while there is a row. */
    bool step();
    /* Runs a statement that gives no rows. */
    void run() {
        while (step()) {
        }
    }

    /* Columns of the row that step gave, counted from 0; what has another type is converted. */
    std::int64_t integer(int column) const;
    int small(int column) const { return static_cast<int>(integer(column)); }
    bool is_null(int column) const;
    bool is_integer(int column) const;
    /* Those of the row that step gave, also where the statement asks for all of a table's. */
    int columns() const;
    std::string text(int column) const;
    /* Valid until the next step. */
    std::string_view bytes(int column) const;

private:
    void check(int result) const;

    sqlite_connection& connection_;
    sqlite3_stmt* statement_;
};

}  // namespace vemra::softtoken
