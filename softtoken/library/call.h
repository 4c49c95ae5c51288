/**
 * The frame around every exported function: no exception leaves, faults fire, calls are traced, and
 * a thread that is cancelled meanwhile ends when the call has ended.
 */
#pragma once

#include "library/running_call.h"
#include "library/token.h"
#include "library/uncancelled.h"
#include "store/failure.h"

namespace vemra::softtoken {

/* The code of this thread's last failure; success while there was none. */
int last_error() noexcept;
/* Keeps the code as this thread's last error and returns it. */
int fail(int code) noexcept;
/* The same for the exception that is being handled. */
int fail_with_current_exception() noexcept;

/* Fires the faults that the environment asks for at this call; the device may be null. */
void fire_environment_faults(running_call& call, token* device);

/* Runs the body, which is given the call and returns nothing: success, or its failure's code. */
template <typename Body>
int status_call(const call_facts& facts, token* device, Body body) {
    constexpr int done = static_cast<int>(error_code::success);
    uncancelled whole;
    running_call call(facts);
    try {
        fire_environment_faults(call, device);
        body(call);
        return call.end(done);
    } catch (const injected_null&) {
        return call.end(done);
    } catch (...) {
        return call.end(fail_with_current_exception());
    }
}

/* Runs the body, which returns a number of its own; a failure's code is negative. */
template <typename Body>
int number_call(const call_facts& facts, token* device, Body body) {
    uncancelled whole;
    running_call call(facts);
    try {
        fire_environment_faults(call, device);
        return call.end(body(call));
    } catch (const injected_null&) {
        return call.end(0);
    } catch (...) {
        return call.end(fail_with_current_exception());
    }
}

/* Runs the body, which returns a pointer; a failure gives null. */
template <typename Body>
auto pointer_call(const call_facts& facts, token* device, Body body) {
    uncancelled whole;
    running_call call(facts);
    decltype(body(call)) made = nullptr;
    try {
        fire_environment_faults(call, device);
        made = body(call);
        call.end(static_cast<int>(error_code::success));
    } catch (const injected_null&) {
        call.end(fail(static_cast<int>(error_code::storage_failed)));
    } catch (...) {
        call.end(fail_with_current_exception());
    }
    return made;
}

/* Runs the body of a function that releases something: no fault fires. */
template <typename Body>
int release_call(const call_facts& facts, Body body) {
    uncancelled whole;
    running_call call(facts);
    try {
        body();
        return call.end(static_cast<int>(error_code::success));
    } catch (...) {
        return call.end(fail_with_current_exception());
    }
}

/* What a handle of the caller's points to; throws null_handle. */
template <typename Handle>
Handle& required(Handle* handle) {
    if (handle == nullptr) throw failure(error_code::null_handle);
    return *handle;
}

/* Ends what the caller gives back; throws null_handle. */
template <typename Handle>
void give_back(Handle* handle) {
    required(handle);
    delete handle;
}

/* Throws bad_argument unless the claim about the caller's arguments holds. */
inline void require_argument(bool good) {
    if (!good) throw failure(error_code::bad_argument);
}

}  // namespace vemra::softtoken
