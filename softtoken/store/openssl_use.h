/** A piece of work with OpenSSL, which the end of the process must not take away under it. */
#pragma once

#include <new>

namespace vemra::softtoken {

/*
 * Lives around each use of OpenSSL. OpenSSL then stays to the process's end; where the program has
 * started it before and it cleans itself up at exit, that waits for the uses that are running, and
 * each later one throws crypto_failed.
 */
class openssl_use {
public:
    openssl_use();
    /* Does not throw, but is not allowed when OpenSSL is gone. */
    explicit openssl_use(std::nothrow_t) noexcept;
    ~openssl_use();
    openssl_use(const openssl_use&) = delete;
    openssl_use& operator=(const openssl_use&) = delete;

    bool is_allowed() const noexcept { return is_allowed_; }

private:
    bool is_allowed_;
};

}  // namespace vemra::softtoken
