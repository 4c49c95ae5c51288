/** A token's database: its connection, its token row, and changes to it. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "store/failure.h"
#include "store/file_lock.h"
#include "store/sqlite_connection.h"
#include "store/sqlite_statement.h"
#include "store/token_format.h"
#include "store/token_info.h"

namespace vemra::softtoken {

/* A token of a format that came later: nothing is known to be wrong with it. */
class unknown_format : public failure {
public:
    using failure::failure;
};

/* Throws damaged unless the file's header says that it is a token of a known format. Reads only. */
void require_token_database(const std::string& path);

/* Whether nothing can be written where a file lies, by anybody. */
bool is_on_read_only_disk(const std::string& path);

/* One open token. Not for use by two threads at once. */
class token_database {
public:
    /*
     * Opens an existing token. Throws damaged for anything that is not one, unknown_format for one
     * of a later format. On a disk that is read only it can be read.
     */
    explicit token_database(const std::string& path);

    /* Throws damaged for a row that no token can have. */
    token_info info();
    /*
     * The caller holds a transaction, and the settings lock. Password attempts are the password
     * table's.
     */
    void set_behaviour(const personality& behaviour);

    /* What the tables of the token work on, while this lives. */
    sqlite_connection& connection() { return connection_; }

private:
    friend class transaction;

    void take_over();
    void end_change_of_format();

    sqlite_connection connection_;
    bool is_present_format_ = false;
    bool changes_format_ = false;
    sqlite_statement begin_{connection_, "BEGIN IMMEDIATE"};
    sqlite_statement commit_{connection_, "COMMIT"};
    sqlite_statement rollback_{connection_, "ROLLBACK"};
};

/* One state of the token for all that is read while it lives. It waits for no change. */
class moment {
public:
    explicit moment(token_database& database);
    ~moment();
    moment(const moment&) = delete;
    moment& operator=(const moment&) = delete;

private:
    sqlite3* database_;
};

/*
 * One change: all or nothing, durable when commit returns. While it lives no other process changes
 * the token. Those who want to change it wait in the order in which they came. A token of an
 * earlier format is taken over with it.
 */
class transaction {
public:
    explicit transaction(token_database& database);
    /* Undoes whatever was not committed. */
    ~transaction();
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;

    /* Throws what keeps the change from being stored; it is undone then. */
    void commit();

private:
    void roll_back() noexcept;

    token_database& database_;
    std::optional<file_lock> turn_;
    bool open_ = true;
};

}  // namespace vemra::softtoken
