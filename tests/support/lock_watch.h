#pragma once

#include <cstddef>

/**
 * Counts how often the mutex inside one object is locked while this lives, and makes it fail. A
 * test program that links this is linked with --wrap=pthread_mutex_lock. One at a time.
 */
class lock_watch {
public:
    template <typename Object>
    explicit lock_watch(const Object& object) : lock_watch(&object, sizeof(Object)) {}
    lock_watch(const void* object, std::size_t size);
    ~lock_watch();
    lock_watch(const lock_watch&) = delete;
    lock_watch& operator=(const lock_watch&) = delete;

    /** Locks since the watch began, failed ones included. */
    int count() const;
    /** Whether the mutex that was locked last is locked now. */
    bool is_held() const;
    /** Makes each further lock of the object fail with an error number. */
    void fail_with(int error);
};
