/** A token's database: its connection, its token row, and changes to it. */
#pragma once

#include <cstdint>
#include <string>

#include "store/sqlite_connection.h"
#include "store/sqlite_statement.h"
#include "store/token_info.h"

namespace vemra::softtoken {

/* "VTok" */
constexpr std::uint32_t application_id = 0x56546f6b;
constexpr std::uint32_t schema_version = 1;

/* Throws damaged unless the file's header says that it is a token of this version. Reads only. */
void require_token_database(const std::string& path);

class token_database {
public:
    /* Opens an existing token. Throws damaged for anything that is not one. */
    explicit token_database(const std::string& path);

    token_info info();
    void set_behaviour(const token_limits& limits, login_scope login);

    sqlite_connection& connection() { return connection_; }

private:
    friend class transaction;

    sqlite_connection connection_;
    sqlite_statement begin_{connection_, "BEGIN IMMEDIATE"};
    sqlite_statement commit_{connection_, "COMMIT"};
    sqlite_statement rollback_{connection_, "ROLLBACK"};
};

/*
 * One change: all or nothing, durable when commit returns. While it lives no other process changes
 * the token.
 */
class transaction {
public:
    explicit transaction(token_database& database);
    /* Undoes whatever was not committed. */
    ~transaction();
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;

    void commit();

private:
    token_database& database_;
    bool open_ = true;
};

}  // namespace vemra::softtoken
