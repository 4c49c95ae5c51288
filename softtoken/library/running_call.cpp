#include "library/running_call.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <thread>

#include "library/call_trace.h"

namespace vemra::softtoken {

running_call::running_call(const call_facts& facts) noexcept
    : facts_(facts), traced_(call_trace::is_on()) {
    if (traced_) started_ = std::chrono::steady_clock::now();
}

bool running_call::commits() const noexcept {
    for (const char* name : {"CreateData", "WriteData", "DeleteData"}) {
        if (std::strstr(facts_.function, name) != nullptr) return true;
    }
    return false;
}

void running_call::apply(const fault& due) {
    switch (due.action) {
        case fault_action::give_code:
            throw injected_code{due.amount};
        case fault_action::give_null:
            throw injected_null();
        case fault_action::delay:
            std::this_thread::sleep_for(std::chrono::milliseconds(due.amount));
            return;
        case fault_action::unplug:
            return;
        case fault_action::die_before:
            if (!commits()) die();
            dies_before_commit_ = true;
            return;
        case fault_action::die_after:
            dies_after_ = true;
            return;
        case fault_action::tear:
            torn_bytes_ = due.amount;
            return;
    }
}

void running_call::before_commit() const noexcept {
    if (dies_before_commit_) die();
}

void running_call::after_commit() const noexcept {
    if (dies_after_ || torn_bytes_ >= 0) die();
}

int running_call::end(int result) noexcept {
    // A call that failed has no commit; the process was to end with it all the same.
    if (dies_before_commit_ || dies_after_ || torn_bytes_ >= 0) die();
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "%d", result);
    trace(number.data());
    return result;
}

void running_call::trace(const char* result) const noexcept {
    if (!traced_) return;
    auto taken = std::chrono::steady_clock::now() - started_;
    call_trace::write(facts_, told_length_, result,
                      std::chrono::duration_cast<std::chrono::microseconds>(taken).count());
}

void running_call::die() const noexcept {
    trace("killed");
    kill(getpid(), SIGKILL);
    for (;;)
        pause();
}

}  // namespace vemra::softtoken
