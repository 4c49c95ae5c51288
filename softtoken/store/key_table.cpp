#include "store/key_table.h"

namespace vemra::softtoken {

int key_table::keypair_count() {
    sqlite_query query(keypair_count_);
    return query.step() ? query.small(0) : 0;
}

std::optional<std::int64_t> key_table::keypair_at(int index) {
    if (index < 0) return std::nullopt;
    sqlite_query query(keypair_at_);
    if (!query.bind(1, index).step()) return std::nullopt;
    return query.integer(0);
}

int key_table::certificate_count(std::int64_t keypair) {
    sqlite_query query(certificate_count_);
    return query.bind(1, keypair).step() ? query.small(0) : 0;
}

std::optional<std::string> key_table::certificate_at(std::int64_t keypair, int index) {
    if (index < 0) return std::nullopt;
    sqlite_query query(certificate_at_);
    if (!query.bind(1, keypair).bind(2, index).step()) return std::nullopt;
    return query.text(0);
}

std::optional<std::int64_t> key_table::find_keypair(const std::string& public_key) {
    sqlite_statement statement(connection_, "SELECT id FROM keypair WHERE public_key = ?1");
    sqlite_query query(statement);
    if (!query.bind_bytes(1, public_key.data(), public_key.size()).step()) return std::nullopt;
    return query.integer(0);
}

std::int64_t key_table::add_keypair(const std::string& public_key, const std::string& private_key) {
    sqlite_statement statement(connection_,
                               "INSERT INTO keypair (public_key, private_key) VALUES (?1, ?2)");
    sqlite_query(statement)
        .bind_bytes(1, public_key.data(), public_key.size())
        .bind_bytes(2, private_key.data(), private_key.size())
        .run();
    return sqlite3_last_insert_rowid(connection_.raw());
}

void key_table::add_certificate(std::int64_t keypair, const std::string& der) {
    sqlite_statement statement(connection_,
                               "INSERT INTO certificate (keypair, der) VALUES (?1, ?2)");
    sqlite_query(statement).bind(1, keypair).bind_bytes(2, der.data(), der.size()).run();
}

std::vector<stored_certificate> key_table::certificates() {
    sqlite_statement statement(connection_,
                               "SELECT certificate.id, keypair.id, length(private_key) > 0, der"
                               " FROM certificate JOIN keypair ON keypair.id = certificate.keypair"
                               " ORDER BY certificate.id");
    sqlite_query query(statement);
    std::vector<stored_certificate> found;
    while (query.step()) {
        found.push_back({query.integer(0), query.integer(1), query.integer(2) != 0, query.text(3)});
    }
    return found;
}

void key_table::remove_certificate(const stored_certificate& removed) {
    sqlite_statement remove(connection_, "DELETE FROM certificate WHERE id = ?1");
    sqlite_query(remove).bind(1, removed.id).run();
    if (removed.has_private_key) return;
    sqlite_statement tidy(connection_,
                          "DELETE FROM keypair WHERE id = ?1 AND NOT EXISTS"
                          " (SELECT 1 FROM certificate WHERE keypair = ?1)");
    sqlite_query(tidy).bind(1, removed.keypair).run();
}

}  // namespace vemra::softtoken
