#include "library/call.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "store/descriptor_limit.h"
#include "store/harmless_text.h"

namespace vemra::softtoken {

namespace {

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

// The code is that of the token's own table, if it has one there.
int _keep(error_code code, const personality* rules) noexcept {
    const int own = static_cast<int>(code);
    if (rules == nullptr) return keep_error(own, rules);
    const auto found = rules->codes.find(own);
    return keep_error(found == rules->codes.end() ? own : found->second, rules);
}

void _fire_environment_faults(running_call& call, token* device) {
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

}  // namespace

int fail_with_current_exception(const running_call& call) noexcept {
    const personality* rules = call.rules();
    try {
        throw;
    } catch (const out_of_descriptors& error) {
        _tell_once(error.what());
        return _keep(error.code(), rules);
    } catch (const failure& error) {
        return _keep(error.code(), rules);
    } catch (const injected_code& injected) {
        return keep_error(injected.code, rules);
    } catch (const std::bad_alloc&) {
        return _keep(error_code::out_of_memory, rules);
    } catch (...) {
        return _keep(error_code::internal, rules);
    }
}

void begin_call(running_call& call, token* device) {
    if (device != nullptr) {
        call.follow(device->behaviour());
        note_asked(call.rules());
    }
    _fire_environment_faults(call, device);
}

void throw_at_caller(running_call& call) {
    call.end(_keep(error_code::internal, call.rules()));
    throw std::runtime_error(std::string(call.facts().function) + " throws");
}

}  // namespace vemra::softtoken
