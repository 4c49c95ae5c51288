#include "store/openssl_use.h"

#include <openssl/crypto.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

std::atomic<bool> _is_gone{false};
std::atomic<int> _uses{0};
// Those of this thread: it may leave the process out of one, from a signal's handler.
__attribute__((tls_model("initial-exec"))) thread_local int _own_uses = 0;

void _await_other_uses() {
    _is_gone = true;
    while (_uses > _own_uses)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// A child made by fork has none of the other threads.
void _forget_other_threads() {
    _uses = _own_uses;
}

bool _prepare() noexcept {
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    OPENSSL_atexit(_await_other_uses);
    pthread_atfork(nullptr, nullptr, _forget_other_threads);
    return true;
}

}  // namespace

openssl_use::openssl_use(std::nothrow_t) noexcept {
    static const bool is_prepared = _prepare();
    // Counted before the look, so that the end sees either this use or is seen by it.
    ++_own_uses;
    ++_uses;
    is_allowed_ = is_prepared && !_is_gone;
}

openssl_use::openssl_use() : openssl_use(std::nothrow) {
    if (!is_allowed_) throw failure(error_code::crypto_failed);
}

openssl_use::~openssl_use() {
    --_uses;
    --_own_uses;
}

}  // namespace vemra::softtoken
