/** The key pairs of a token and their certificates. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/token_database.h"

namespace vemra::softtoken {

/* One row; id and keypair are numbers of rows. */
struct stored_certificate {
    std::int64_t id = 0;
    std::int64_t keypair = 0;
    bool has_private_key = false; /* its key pair lies on the token whole */
    std::string der;
};

/* The caller holds a transaction around each change. */
class key_table {
public:
    explicit key_table(sqlite_connection& connection) : connection_(connection) {}

    int keypair_count();
    /* The row of the key pair at an index, in the order in which they were stored. */
    std::optional<std::int64_t> keypair_at(int index);
    /* Those that were stored for the key pair of that row. */
    int certificate_count(std::int64_t keypair);
    /* The DER bytes of the certificate at an index. */
    std::optional<std::string> certificate_at(std::int64_t keypair, int index);

    /* The key pair with this public key (DER), if it is stored. */
    std::optional<std::int64_t> find_keypair(const std::string& public_key);
    /* The private key (DER) is empty when it lies elsewhere. */
    std::int64_t add_keypair(const std::string& public_key, const std::string& private_key);
    void add_certificate(std::int64_t keypair, const std::string& der);

    /* All certificates in the order in which they were stored. */
    std::vector<stored_certificate> certificates();
    /* A public key that no certificate is left for goes too, unless the private one lies here. */
    void remove_certificate(const stored_certificate& removed);

private:
    sqlite_connection& connection_;
    sqlite_statement keypair_count_{connection_, "SELECT count(*) FROM keypair"};
    sqlite_statement keypair_at_{connection_,
                                 "SELECT id FROM keypair ORDER BY id LIMIT 1 OFFSET ?1"};
    sqlite_statement certificate_count_{connection_,
                                        "SELECT count(*) FROM certificate WHERE keypair = ?1"};
    sqlite_statement certificate_at_{connection_,
                                     "SELECT der FROM certificate WHERE keypair = ?1"
                                     " ORDER BY id LIMIT 1 OFFSET ?2"};
};

}  // namespace vemra::softtoken
