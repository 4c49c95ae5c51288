#pragma once

#include <mutex>

namespace qo::base {

/**
 * Gives an object a plain, non-recursive mutex of its own, and so makes it one that is not copied.
 *
 * Public operations of a derived class hold a scoped_lock for their whole duration and call only
 * private_ twins, which do not lock: one lock per operation, never two.
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
