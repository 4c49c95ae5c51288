#include "store/password_table.h"

#include "store/failure.h"

namespace vemra::softtoken {

password_hash password_table::hash() {
    sqlite_query query(hash_);
    if (!query.step()) throw failure(error_code::damaged, connection_.path() + ": no password");
    password_hash stored;
    stored.cost = query.small(0);
    stored.salt = query.text(1);
    stored.hash = query.text(2);
    return stored;
}

retry_counter password_table::retries() {
    sqlite_query query(retries_);
    if (!query.step()) throw failure(error_code::damaged, connection_.path() + ": no password");
    return {query.small(0), query.small(1)};
}

void password_table::set_retries_left(int left) {
    sqlite_query(set_retries_).bind(1, left).run();
}

void password_table::set_most_retries(int most) {
    sqlite_statement statement(
        connection_,
        "UPDATE password SET retries = ?1, retries_left = CASE WHEN retries_left <= 0 THEN 0"
        " ELSE max(1, ?1 - (retries - retries_left)) END");
    sqlite_query(statement).bind(1, most).run();
}

void password_table::replace(const password_hash& hash) {
    sqlite_statement statement(
        connection_, "UPDATE password SET cost = ?1, salt = ?2, hash = ?3, retries_left = retries");
    sqlite_query(statement)
        .bind(1, hash.cost)
        .bind_bytes(2, hash.salt.data(), hash.salt.size())
        .bind_bytes(3, hash.hash.data(), hash.hash.size())
        .run();
}

}  // namespace vemra::softtoken
