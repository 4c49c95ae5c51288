/** A piece of work in which the thread cannot be cancelled. */
#pragma once

#include <pthread.h>

namespace vemra::softtoken {

/* Lives around the piece of work; pieces may lie within each other. */
class uncancelled {
public:
    uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
    /* A thread that was cancelled, and may be at any moment, can be unwound from here. */
    ~uncancelled() noexcept(false) { pthread_setcancelstate(state_, nullptr); }
    uncancelled(const uncancelled&) = delete;
    uncancelled& operator=(const uncancelled&) = delete;

private:
    int state_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace vemra::softtoken
