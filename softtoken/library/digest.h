/** A running digest of one of OpenSSL's algorithms. */
#pragma once

#include <openssl/evp.h>

#include <cstddef>
#include <string>

namespace vemra::softtoken {

/*
 * Freed while the process exits, after OpenSSL has cleaned itself up, a digest leaves its OpenSSL
 * object alone; a new one then fails.
 */
class digest {
public:
    /* Throws crypto_failed when OpenSSL has cleaned itself up, or has no such algorithm. */
    explicit digest(const std::string& algorithm);
    ~digest();
    digest(const digest&) = delete;
    digest& operator=(const digest&) = delete;

    /* Throws hash_finished after finish. */
    void update(const void* data, std::size_t size);
    /* The digest's bytes, once; then nothing can be added, and this too throws hash_finished. */
    std::string finish();

private:
    void require_open() const;

    EVP_MD_CTX* context_ = nullptr;
    bool finished_ = false;
};

}  // namespace vemra::softtoken
