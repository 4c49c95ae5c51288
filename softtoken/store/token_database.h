/** One open token: its connection, its token row, and transactions over both. */
#pragma once

#include <string>

#include "store/sqlite_connection.h"
#include "store/sqlite_statement.h"
#include "store/token_info.h"

namespace vemra::softtoken {

class token_database {
public:
    /* Opens an existing token. Throws damaged for anything that is not one. */
    explicit token_database(const std::string& path);

    token_info info();
    plug_state plug();
    /* Plugs the token in or pulls it out. */
    void set_attached(bool attached);

    sqlite_connection& connection() { return connection_; }

private:
    friend class transaction;

    sqlite_connection connection_;
    sqlite_statement begin_read_{connection_, "BEGIN"};
    sqlite_statement begin_write_{connection_, "BEGIN IMMEDIATE"};
    sqlite_statement commit_{connection_, "COMMIT"};
    sqlite_statement rollback_{connection_, "ROLLBACK"};
    sqlite_statement plug_{connection_, "SELECT attached, plug_count FROM token"};
};

/* One consistent look at the token, or one change: all or nothing, durable when commit returns. */
class transaction {
public:
    enum class purpose { read, write };

    transaction(token_database& database, purpose why);
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
