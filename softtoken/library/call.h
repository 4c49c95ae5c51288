/**
 * The frame around every exported function: no exception leaves, faults fire, calls are traced, and
 * a thread that is cancelled meanwhile ends when the call has ended.
 */
#pragma once

#include "library/error_state.h"
#include "library/running_call.h"
#include "library/token.h"
#include "library/uncancelled.h"
#include "store/failure.h"

namespace vemra::softtoken {

/* Keeps the exception that is being handled as the last error, by the call's token, and gives its
 * code. */
int fail_with_current_exception(const running_call& call) noexcept;
/* Ends the call with an exception that its caller gets. */
[[noreturn]] void throw_at_caller(running_call& call);

/*
 * Lets the call follow the device's behaviour, and fires the faults that the environment asks for;
 * the device may be null.
 */
void begin_call(running_call& call, token* device);

/* Runs the body, which is given the call and returns nothing: success, or its failure's code. */
template <typename Body>
int status_call(const call_facts& facts, token* device, Body body) {
    constexpr int done = static_cast<int>(error_code::success);
    uncancelled whole;
    running_call call(facts);
    try {
        begin_call(call, device);
        body(call);
        keep_success(call.rules());
        return call.end(done);
    } catch (const injected_null&) {
        return call.end(done);
    } catch (const injected_exception&) {
        throw_at_caller(call);
    } catch (...) {
        return call.end(fail_with_current_exception(call));
    }
}

/* Runs the body, which returns a number of its own; a failure's code is negative. */
template <typename Body>
int number_call(const call_facts& facts, token* device, Body body) {
    uncancelled whole;
    running_call call(facts);
    try {
        begin_call(call, device);
        int number = body(call);
        keep_success(call.rules());
        return call.end(number);
    } catch (const injected_null&) {
        return call.end(0);
    } catch (const injected_exception&) {
        throw_at_caller(call);
    } catch (...) {
        return call.end(fail_with_current_exception(call));
    }
}

/* Runs the body, which returns a pointer; a failure gives null. */
template <typename Body>
auto pointer_call(const call_facts& facts, token* device, Body body) {
    uncancelled whole;
    running_call call(facts);
    decltype(body(call)) made = nullptr;
    try {
        begin_call(call, device);
        made = body(call);
        keep_success(call.rules());
        call.end(static_cast<int>(error_code::success));
    } catch (const injected_null&) {
        call.end(keep_error(static_cast<int>(error_code::storage_failed), call.rules()));
    } catch (const injected_exception&) {
        throw_at_caller(call);
    } catch (...) {
        call.end(fail_with_current_exception(call));
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
        return call.end(fail_with_current_exception(call));
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
