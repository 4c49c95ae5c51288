#include "library/digest.h"

#include <openssl/crypto.h>

#include <array>
#include <atomic>
#include <forward_list>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

std::atomic<bool> _openssl_is_gone{false};

void _note_the_end() {
    _openssl_is_gone = true;
}

// Freeing would run code of OpenSSL's that is no more; the process is about to end anyway.
void _set_aside(EVP_MD_CTX* context) {
    static auto& kept = *new std::forward_list<EVP_MD_CTX*>;
    kept.push_front(context);
}

// The algorithm, fetched once and kept; null when it is not to be had.
const EVP_MD* _sha256() {
    static const EVP_MD* const algorithm = [] {
        OPENSSL_atexit(_note_the_end);
        return EVP_MD_fetch(nullptr, "SHA256", nullptr);
    }();
    return algorithm;
}

}  // namespace

digest::digest() {
    if (_openssl_is_gone) throw failure(error_code::crypto_failed);
    const EVP_MD* algorithm = _sha256();
    context_ = EVP_MD_CTX_new();
    if (algorithm == nullptr || EVP_DigestInit_ex2(context_, algorithm, nullptr) != 1) {
        EVP_MD_CTX_free(context_);
        throw failure(error_code::crypto_failed);
    }
}

digest::~digest() {
    if (_openssl_is_gone) {
        _set_aside(context_);
    } else {
        EVP_MD_CTX_free(context_);
    }
}

void digest::require_open() const {
    if (finished_) throw failure(error_code::hash_finished);
    if (_openssl_is_gone) throw failure(error_code::crypto_failed);
}

void digest::update(const void* data, std::size_t size) {
    require_open();
    if (EVP_DigestUpdate(context_, data, size) != 1) throw failure(error_code::crypto_failed);
}

std::string digest::finish() {
    require_open();
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned int size = 0;
    finished_ = true;
    if (EVP_DigestFinal_ex(context_, bytes.data(), &size) != 1) {
        throw failure(error_code::crypto_failed);
    }
    return {reinterpret_cast<const char*>(bytes.data()), size};
}

}  // namespace vemra::softtoken
