#pragma once

#include <mutex>

namespace qo::base {

/**
 * Gives an object a plain, non-recursive mutex of its own, and so makes it one that is not copied.
 *
 * An operation of a derived class that locks holds one scoped_lock, and calls no operation of the
 * same object that locks, too. What several such operations share has a private_ twin that does not
 * lock: so have those on the slots of vemra::crypto::device, and no others need one.
 */
class thread_safe_object {
protected:
    ~thread_safe_object() = default;

private:
    friend class scoped_lock;
    mutable std::mutex mutex_;
};

/** Holds an object's mutex while it lives. Throws std::system_error if it cannot be locked. */
class scoped_lock {
public:
    explicit scoped_lock(const thread_safe_object& object) : guard_(object.mutex_) {}

private:
    std::lock_guard<std::mutex> guard_;
};

}  // namespace qo::base
