#include "library/call.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "library/call_trace.h"
#include "library/token.h"

namespace vemra::softtoken {

namespace {

// Neither needs a destructor, so both can be used while the thread or the process is ending.
thread_local int _last_error = static_cast<int>(error_code::success);
thread_local call_frame* _current = nullptr;

// The faults that VEMRA_SOFTTOKEN_FAULTS asks for, read at the first call.
struct environment_faults {
    std::mutex mutex;
    fault_plan plan;
};

fault_plan _plan_from_environment() {
    const char* text = std::getenv("VEMRA_SOFTTOKEN_FAULTS");
    if (text == nullptr) return fault_plan({});
    try {
        return fault_plan(parse_faults(text));
    } catch (const failure& error) {
        std::fprintf(stderr, "vemra-softtoken: VEMRA_SOFTTOKEN_FAULTS: %s\n", error.what());
        return fault_plan({});
    }
}

environment_faults& _environment_faults();

void _hold_environment_faults() {
    _environment_faults().mutex.lock();
}

void _release_environment_faults() {
    _environment_faults().mutex.unlock();
}

// A child made by fork must not find them held by a thread that it does not have.
environment_faults& _environment_faults() {
    static auto& faults = *new environment_faults{{}, _plan_from_environment()};
    static const int registered = pthread_atfork(
        _hold_environment_faults, _release_environment_faults, _release_environment_faults);
    static_cast<void>(registered);
    return faults;
}

}  // namespace

int last_error() noexcept {
    return _last_error;
}

int fail(int code) noexcept {
    _last_error = code;
    return code;
}

int fail_with_current_exception() noexcept {
    try {
        throw;
    } catch (const failure& error) {
        return fail(static_cast<int>(error.code()));
    } catch (const injected_code& injected) {
        return fail(injected.code);
    } catch (const std::bad_alloc&) {
        return fail(static_cast<int>(error_code::out_of_memory));
    } catch (...) {
        return fail(static_cast<int>(error_code::internal));
    }
}

call_frame::call_frame(const call_facts& facts) noexcept
    : facts_(facts), traced_(call_trace::is_on()) {
    _current = this;
    if (traced_) started_ = std::chrono::steady_clock::now();
}

call_frame::~call_frame() {
    _current = nullptr;
}

call_frame& call_frame::current() noexcept {
    return *_current;
}

void call_frame::begin() {
    environment_faults& faults = _environment_faults();
    if (faults.plan.empty()) return;
    std::vector<fault> firing;
    {
        std::lock_guard<std::mutex> lock(faults.mutex);
        firing = faults.plan.due(facts_.function, facts_.slot, facts_.device != nullptr);
    }
    for (const fault& due : firing) {
        if (due.action == fault_action::unplug) facts_.device->unplug();
        apply(due);
    }
}

bool call_frame::commits() const noexcept {
    for (const char* name : {"CreateData", "WriteData", "DeleteData"}) {
        if (std::strstr(facts_.function, name) != nullptr) return true;
    }
    return false;
}

void call_frame::apply(const fault& due) {
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

void call_frame::before_commit() const noexcept {
    if (dies_before_commit_) die();
}

void call_frame::after_commit() const noexcept {
    if (dies_after_ || torn_bytes_ >= 0) die();
}

int call_frame::end(int result) noexcept {
    // A call that failed has no commit; the process was to end with it all the same.
    if (dies_before_commit_ || dies_after_ || torn_bytes_ >= 0) die();
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "%d", result);
    trace(number.data());
    return result;
}

void call_frame::trace(const char* result) const noexcept {
    if (!traced_) return;
    auto taken = std::chrono::steady_clock::now() - started_;
    call_trace::write(facts_, told_length_, result,
                      std::chrono::duration_cast<std::chrono::microseconds>(taken).count());
}

void call_frame::die() const noexcept {
    trace("killed");
    kill(getpid(), SIGKILL);
    for (;;)
        pause();
}

}  // namespace vemra::softtoken
