/** The frame around every exported function: no exception leaves, the last error is kept. */
#pragma once

#include <exception>
#include <new>

#include "store/failure.h"

namespace vemra::softtoken {

/* The code of this thread's last failure; success while there was none. */
int last_error() noexcept;
/* Keeps the code as this thread's last error and returns it. */
int fail(error_code code) noexcept;
/* The same for the exception that is being handled. */
int fail_with_current_exception() noexcept;

/* Runs the body, which returns nothing: success, or the code of its failure. */
template <typename Body>
int status_call(Body body) noexcept {
    try {
        body();
        return static_cast<int>(error_code::success);
    } catch (...) {
        return fail_with_current_exception();
    }
}

/* Runs the body, which returns a number of its own; a failure's code is negative. */
template <typename Body>
int number_call(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return fail_with_current_exception();
    }
}

/* Runs the body, which returns a pointer; a failure gives null. */
template <typename Body>
auto pointer_call(Body body) noexcept -> decltype(body()) {
    try {
        return body();
    } catch (...) {
        fail_with_current_exception();
        return nullptr;
    }
}

template <typename Handle>
Handle& required(Handle* handle) {
    if (handle == nullptr) throw failure(error_code::null_handle);
    return *handle;
}

inline void require_argument(bool good) {
    if (!good) throw failure(error_code::bad_argument);
}

}  // namespace vemra::softtoken
