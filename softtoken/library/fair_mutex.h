/** A mutex of one process that threads get in the order in which they came. */
#pragma once

#include <condition_variable>
#include <mutex>

namespace vemra::softtoken {

/* Takes no memory. Owned by one thread from lock to unlock, like any mutex. */
class fair_mutex {
public:
    void lock();
    bool try_lock();
    void unlock();

    /* Around a fork: waits like lock, and keeps everything still until one of the others. */
    void hold_for_fork();
    void go_on_in_parent();
    /* The child has none of the threads that waited. */
    void go_on_in_child();

private:
    struct waiter {
        std::condition_variable called;
        bool has_turn = false;
        waiter* next = nullptr;
    };

    /* With inner_ held. */
    void hand_over();

    std::mutex inner_;
    bool is_held_ = false;
    waiter* first_ = nullptr;
    waiter* last_ = nullptr;
};

}  // namespace vemra::softtoken
