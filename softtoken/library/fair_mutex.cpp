#include "library/fair_mutex.h"

namespace vemra::softtoken {

void fair_mutex::lock() {
    std::unique_lock<std::mutex> inner(inner_);
    if (!is_held_) {
        is_held_ = true;
        return;
    }
    waiter own;
    (first_ == nullptr ? first_ : last_->next) = &own;
    last_ = &own;
    // Whoever unlocks hands over: nobody who came later gets in between.
    own.called.wait(inner, [&own] { return own.has_turn; });
}

bool fair_mutex::try_lock() {
    std::lock_guard<std::mutex> inner(inner_);
    if (is_held_) return false;
    is_held_ = true;
    return true;
}

void fair_mutex::unlock() {
    std::lock_guard<std::mutex> inner(inner_);
    hand_over();
}

void fair_mutex::hand_over() {
    if (first_ == nullptr) {
        is_held_ = false;
        return;
    }
    waiter* called = first_;
    first_ = called->next;
    called->has_turn = true;
    called->called.notify_one();
}

void fair_mutex::hold_for_fork() {
    lock();
    inner_.lock();
}

void fair_mutex::go_on_in_parent() {
    hand_over();
    inner_.unlock();
}

void fair_mutex::go_on_in_child() {
    first_ = nullptr;
    is_held_ = false;
    inner_.unlock();
}

}  // namespace vemra::softtoken
