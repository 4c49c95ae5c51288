#include "support/lock_watch.h"

#include <pthread.h>

#include <atomic>

namespace {

std::atomic<const char*> watched_begin{nullptr};
std::atomic<const char*> watched_end{nullptr};
std::atomic<int> lock_count{0};
std::atomic<int> lock_error{0};
std::atomic<pthread_mutex_t*> locked_last{nullptr};

}  // namespace

extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    const auto* address = reinterpret_cast<const char*>(mutex);
    if (address < watched_begin || address >= watched_end) return __real_pthread_mutex_lock(mutex);
    ++lock_count;
    locked_last = mutex;
    return lock_error != 0 ? lock_error.load() : __real_pthread_mutex_lock(mutex);
}
}

lock_watch::lock_watch(const void* object, std::size_t size) {
    lock_count = 0;
    lock_error = 0;
    locked_last = nullptr;
    watched_begin = static_cast<const char*>(object);
    watched_end = static_cast<const char*>(object) + size;
}

lock_watch::~lock_watch() {
    watched_begin = nullptr;
    watched_end = nullptr;
    lock_error = 0;
}

int lock_watch::count() const {
    return lock_count;
}

bool lock_watch::is_held() const {
    pthread_mutex_t* const mutex = locked_last;
    if (mutex == nullptr) return false;
    if (pthread_mutex_trylock(mutex) != 0) return true;
    pthread_mutex_unlock(mutex);
    return false;
}

void lock_watch::fail_with(int error) {
    lock_error = error;
}
