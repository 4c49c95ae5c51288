/** The frame around every exported function: no exception leaves, faults fire, calls are traced. */
#pragma once

#include <chrono>
#include <exception>
#include <new>

#include "store/failure.h"
#include "store/fault.h"

namespace vemra::softtoken {

class token;

/* What an exported function was asked. */
struct call_facts {
    const char* function;
    token* device = nullptr;
    int slot = -1;
    int size = -1;
};

/* The code of this thread's last failure; success while there was none. */
int last_error() noexcept;
/* Keeps the code as this thread's last error and returns it. */
int fail(int code) noexcept;
/* The same for the exception that is being handled. */
int fail_with_current_exception() noexcept;

/* Ends a call with any code. */
struct injected_code {
    int code;
};
/* Ends a call with a null handle, or with success that gives nothing. */
struct injected_null {};

/* One call from its beginning to its end. There is at most one in each thread. */
class call_frame {
public:
    explicit call_frame(const call_facts& facts) noexcept;
    ~call_frame();
    call_frame(const call_frame&) = delete;
    call_frame& operator=(const call_frame&) = delete;

    /* The frame of this thread's running call. */
    static call_frame& current() noexcept;

    const call_facts& facts() const noexcept { return facts_; }
    /* Fires the faults that the environment asks for at this call. */
    void begin();
    /* Does what a fault asks for, now or when the call commits. */
    void apply(const fault& due);
    /* How many bytes of a write arrive before the process ends; below 0 for all. */
    int torn_bytes() const noexcept { return torn_bytes_; }
    void before_commit() const noexcept;
    void after_commit() const noexcept;
    /* Keeps for the trace, and passes through, a length that the call tells its caller. */
    int tell_length(int length) noexcept {
        told_length_ = length;
        return length;
    }
    /* The call's last step: traces it, and passes the result through. */
    int end(int result) noexcept;

private:
    bool commits() const noexcept;
    void trace(const char* result) const noexcept;
    [[noreturn]] void die() const noexcept;

    call_facts facts_;
    bool dies_before_commit_ = false;
    bool dies_after_ = false;
    int torn_bytes_ = -1;
    int told_length_ = -1;
    bool traced_;
    std::chrono::steady_clock::time_point started_;
};

/* Runs the body, which returns nothing: success, or the code of its failure. */
template <typename Body>
int status_call(const call_facts& facts, Body body) noexcept {
    constexpr int done = static_cast<int>(error_code::success);
    call_frame frame(facts);
    try {
        frame.begin();
        body();
        return frame.end(done);
    } catch (const injected_null&) {
        return frame.end(done);
    } catch (...) {
        return frame.end(fail_with_current_exception());
    }
}

/* Runs the body, which returns a number of its own; a failure's code is negative. */
template <typename Body>
int number_call(const call_facts& facts, Body body) noexcept {
    call_frame frame(facts);
    try {
        frame.begin();
        return frame.end(body());
    } catch (const injected_null&) {
        return frame.end(0);
    } catch (...) {
        return frame.end(fail_with_current_exception());
    }
}

/* Runs the body, which returns a pointer; a failure gives null. */
template <typename Body>
auto pointer_call(const call_facts& facts, Body body) noexcept -> decltype(body()) {
    call_frame frame(facts);
    try {
        frame.begin();
        auto* made = body();
        frame.end(static_cast<int>(error_code::success));
        return made;
    } catch (const injected_null&) {
        frame.end(fail(static_cast<int>(error_code::storage_failed)));
    } catch (...) {
        frame.end(fail_with_current_exception());
    }
    return nullptr;
}

/* Runs the body of a function that releases something: no fault fires. */
template <typename Body>
int release_call(const call_facts& facts, Body body) noexcept {
    call_frame frame(facts);
    try {
        body();
        return frame.end(static_cast<int>(error_code::success));
    } catch (...) {
        return frame.end(fail_with_current_exception());
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
