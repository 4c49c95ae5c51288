#include "store/password_hash.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cstdint>

#include "store/failure.h"
#include "store/openssl_use.h"

namespace vemra::softtoken {

namespace {

constexpr std::size_t salt_size = 16;
constexpr std::size_t hash_size = 32;
constexpr std::uint64_t block_size = 8;
constexpr std::uint64_t parallelism = 3;
constexpr std::uint64_t memory_limit = std::uint64_t{2} << 30;

unsigned char* _bytes(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

std::string _derive(std::string_view password, const std::string& salt, int cost) {
    if (cost < lowest_password_cost || cost > highest_password_cost) {
        throw failure(error_code::damaged, "password cost out of range");
    }
    std::string hash(hash_size, '\0');
    openssl_use use;
    int done = EVP_PBE_scrypt(password.data(), password.size(),
                              reinterpret_cast<const unsigned char*>(salt.data()), salt.size(),
                              std::uint64_t{1} << cost, block_size, parallelism, memory_limit,
                              _bytes(hash), hash.size());
    if (done != 1) throw failure(error_code::crypto_failed);
    return hash;
}

}  // namespace

password_hash hash_password(std::string_view password, int cost) {
    openssl_use use;
    password_hash made;
    made.cost = cost;
    made.salt.resize(salt_size);
    if (RAND_bytes(_bytes(made.salt), static_cast<int>(salt_size)) != 1) {
        throw failure(error_code::crypto_failed);
    }
    made.hash = _derive(password, made.salt, cost);
    return made;
}

bool matches(const password_hash& stored, std::string_view password) {
    std::string hash = _derive(password, stored.salt, stored.cost);
    return stored.hash.size() == hash.size() &&
           CRYPTO_memcmp(stored.hash.data(), hash.data(), hash.size()) == 0;
}

}  // namespace vemra::softtoken
