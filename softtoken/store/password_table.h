/** The user password of a token and its retry counter. */
#pragma once

#include "store/password_hash.h"
#include "store/token_database.h"

namespace vemra::softtoken {

/* Attempts that are left, out of so many. */
struct retry_counter {
    int left = 0;
    int most = 0;
};

/* The caller holds a transaction around each change. Reading throws damaged without a password. */
class password_table {
public:
    explicit password_table(sqlite_connection& connection) : connection_(connection) {}

    /* What the password is compared with. */
    password_hash hash();
    retry_counter retries();
    void set_retries_left(int left);
    /* Attempts that were taken stay taken; one is left unless the token is locked. */
    void set_most_retries(int most);
    /* Stores another password and gives back all retries. */
    void replace(const password_hash& hash);

private:
    sqlite_connection& connection_;
    sqlite_statement hash_{connection_, "SELECT cost, salt, hash FROM password"};
    sqlite_statement retries_{connection_, "SELECT retries_left, retries FROM password"};
    sqlite_statement set_retries_{connection_, "UPDATE password SET retries_left = ?1"};
};

}  // namespace vemra::softtoken
