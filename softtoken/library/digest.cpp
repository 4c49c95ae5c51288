#include "library/digest.h"

#include <array>
#include <forward_list>
#include <mutex>

#include "personality/personality.h"
#include "store/failure.h"
#include "store/openssl_use.h"

namespace vemra::softtoken {

namespace {

// Freeing would run code of OpenSSL's that is no more; the process is about to end anyway.
void _set_aside(EVP_MD_CTX* context) {
    static auto& mutex = *new std::mutex;
    static auto& kept = *new std::forward_list<EVP_MD_CTX*>;
    std::lock_guard<std::mutex> lock(mutex);
    kept.push_front(context);
}

// Null when it is not to be had. The usual one is fetched once and kept.
EVP_MD* _fetched(const std::string& name) {
    static EVP_MD* const usual = EVP_MD_fetch(nullptr, usual_digest, nullptr);
    if (name != usual_digest) return EVP_MD_fetch(nullptr, name.c_str(), nullptr);
    if (usual != nullptr) EVP_MD_up_ref(usual);
    return usual;
}

}  // namespace

digest::digest(const std::string& algorithm) {
    openssl_use use;
    EVP_MD* fetched = _fetched(algorithm);
    context_ = EVP_MD_CTX_new();
    const bool begun = fetched != nullptr && EVP_DigestInit_ex2(context_, fetched, nullptr) == 1;
    EVP_MD_free(fetched);
    if (!begun) {
        EVP_MD_CTX_free(context_);
        throw failure(error_code::crypto_failed);
    }
}

digest::~digest() {
    openssl_use use(std::nothrow);
    if (use.is_allowed()) {
        EVP_MD_CTX_free(context_);
    } else {
        _set_aside(context_);
    }
}

void digest::require_open() const {
    if (finished_) throw failure(error_code::hash_finished);
}

void digest::update(const void* data, std::size_t size) {
    openssl_use use;
    require_open();
    if (EVP_DigestUpdate(context_, data, size) != 1) throw failure(error_code::crypto_failed);
}

std::string digest::finish() {
    openssl_use use;
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
