/** What a token's knobs say of handles, processes, threads and any call. */
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "library/token.h"
#include "store/device_function.h"
#include "store/failure.h"

namespace vemra::softtoken {

namespace {

// A knob that names a function means its calls; an empty one means none.
bool _is_named(const std::string& function, const running_call& call) {
    return !function.empty() && short_name(call.facts().function) == function;
}

}  // namespace

// What the knobs say of any call, before it does its work.
void token::behave(running_call& call, const open_token& open, handle_state& handle) {
    const personality& rules = *open.behaviour;
    if (!is_accessible(open)) throw failure(error_code::busy);
    const bool is_listed = handle.listed != nullptr && *handle.listed == open.plugged;
    if (rules.handles == handle_rule::stay_dead && !is_listed) {
        throw failure(error_code::removed);
    }
    if (_is_named(rules.throws, call)) throw injected_exception();
    while (_is_named(rules.never_ends, call))
        pause();
    login_of(open, handle).count_call();
    if (met_by_ != getpid()) {
        met_by_ = getpid();
        std::this_thread::sleep_for(std::chrono::milliseconds(rules.first_call_milliseconds));
    }
}

bool token::is_accessible(const open_token& open) {
    const access_rule access = open.behaviour->access;
    if (access == access_rule::first_process || access == access_rule::first_process_hides) {
        return exclusive_use_.is_ours(directory_);
    }
    exclusive_use_.give_back();
    return true;
}

bool token::is_seen_here() {
    std::lock_guard<fair_mutex> lock(mutex_);
    if (open_ == nullptr) return true;
    return is_accessible(*open_) || open_->behaviour->access != access_rule::first_process_hides;
}

// Kept for handles, one for each plugging-in that was listed.
void token::note_listed(const plug& present) {
    if (!listings_.empty() && listings_.front() == present) return;
    listings_.push_front(present);
    listed_ = &listings_.front();
}

// Waits for no call.
const plug* token::take_handle() {
    if (handles_++ > 0 && behaviour()->access == access_rule::one_handle) {
        --handles_;
        throw failure(error_code::busy);
    }
    return listed_;
}

void token::take_turn() {
    if (callers_++ > 0 && behaviour()->threads != thread_rule::any) {
        --callers_;
        if (behaviour()->threads == thread_rule::busy) throw failure(error_code::busy);
        std::raise(SIGSEGV);
    }
    mutex_.lock();
}

// The child has none of the callers.
void token::finish_fork_in_child() {
    callers_ = 0;
    mutex_.go_on_in_child();
}

void token::end_turn() {
    mutex_.unlock();
    --callers_;
}

}  // namespace vemra::softtoken
