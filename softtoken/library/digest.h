/** A running SHA-256 digest. */
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
    digest();
    ~digest();
    digest(const digest&) = delete;
    digest& operator=(const digest&) = delete;

    void update(const void* data, std::size_t size);
    /* The digest's bytes; nothing can be added afterwards. */
    std::string finish();

private:
    void require_open() const;

    EVP_MD_CTX* context_ = nullptr;
    bool finished_ = false;
};

}  // namespace vemra::softtoken
