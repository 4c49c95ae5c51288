#include "library/call.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#include "store/descriptor_limit.h"
#include "store/harmless_text.h"

namespace vemra::softtoken {

namespace {

// It needs no destructor, so it can be used while the thread or the process is ending.
thread_local int _last_error = static_cast<int>(error_code::success);

// The faults that VEMRA_SOFTTOKEN_FAULTS asks for, read at the first call.
struct environment_faults {
    std::mutex mutex;
    fault_plan plan;
};

fault_plan _plan_from_environment() {
    const char* text = secure_getenv("VEMRA_SOFTTOKEN_FAULTS");
    if (text == nullptr) return fault_plan({});
    try {
        return fault_plan(parse_faults(text));
    } catch (const failure& error) {
        tell("VEMRA_SOFTTOKEN_FAULTS: ", error.what());
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

// The code alone would send people to look for damage.
void _tell_once(const char* reason) noexcept {
    static std::atomic_flag told = ATOMIC_FLAG_INIT;
    if (!told.test_and_set()) tell("", reason);
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
    } catch (const out_of_descriptors& error) {
        _tell_once(error.what());
        return fail(static_cast<int>(error.code()));
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

void fire_environment_faults(running_call& call, token* device) {
    environment_faults& faults = _environment_faults();
    if (faults.plan.empty()) return;
    const call_facts& facts = call.facts();
    std::vector<fault> firing;
    {
        std::lock_guard<std::mutex> lock(faults.mutex);
        firing = faults.plan.due(facts.function, facts.slot, device != nullptr);
    }
    for (const fault& due : firing) {
        if (due.action == fault_action::unplug) device->unplug();
        call.apply(due);
    }
}

}  // namespace vemra::softtoken
