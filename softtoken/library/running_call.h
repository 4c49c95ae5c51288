/** One call of an exported function, from its beginning to its end. */
#pragma once

#include <chrono>

#include "library/call_facts.h"
#include "personality/personality.h"
#include "store/fault.h"

namespace vemra::softtoken {

/* Ends a call with any code. */
struct injected_code {
    int code;
};
/* Ends a call with a null handle, or with success that gives nothing. */
struct injected_null {};
/* Ends a call with an exception that leaves the library. */
struct injected_exception {};

/* Whoever does a part of the call's work is given it. */
class running_call {
public:
    explicit running_call(const call_facts& facts) noexcept;
    running_call(const running_call&) = delete;
    running_call& operator=(const running_call&) = delete;

    const call_facts& facts() const noexcept { return facts_; }
    /* How the token behaves that the call is made of; null where there is none. */
    void follow(const personality* rules) noexcept { rules_ = rules; }
    const personality* rules() const noexcept { return rules_; }
    /* Does what a fault asks for, now or when the call commits. */
    void apply(const fault& due);
    /* How many bytes of a write arrive before the process ends; below 0 for all. */
    int torn_bytes() const noexcept { return torn_bytes_; }
    /* Around the commit of a change: here the process ends, if a fault asks for that. */
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
    const personality* rules_ = nullptr;
    bool dies_before_commit_ = false;
    bool dies_after_ = false;
    int torn_bytes_ = -1;
    int told_length_ = -1;
    bool traced_;
    std::chrono::steady_clock::time_point started_;
};

}  // namespace vemra::softtoken
