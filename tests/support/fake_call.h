#pragma once

#include <stdexcept>

#include "support/fake_state.h"

/* The frames of the fake's functions: log the call, let a due fault act, else do the work. */

inline void throw_if_due(const std::optional<fault>& due) {
    if (!due) return;
    if (due->what == fault::kind::throws_int) throw 17;
    if (due->what == fault::kind::throws_runtime_error) {
        throw std::runtime_error("thrown by the device library");
    }
}

/** A call that tells `failure` instead of its result when it fails. */
template <typename Result, typename Work>
Result perform(const char* function, std::initializer_list<std::string> arguments, Result failure,
               Work work) {
    fake_state& state = the_state();
    const std::optional<fault> due = state.enter(function, arguments);
    throw_if_due(due);
    if (!due) return work(state);
    if (due->what == fault::kind::claims_success) return failure;
    if (due->what == fault::kind::works_but_fails) work(state);
    state.finish(due->code);
    return failure;
}

/** A call that tells a status, 1 when it is done. */
template <typename Work>
int perform_status(const char* function, std::initializer_list<std::string> arguments, Work work) {
    fake_state& state = the_state();
    const std::optional<fault> due = state.enter(function, arguments);
    throw_if_due(due);
    if (!due) return state.finish(work(state));
    if (due->what == fault::kind::claims_success) return state.finish(1);
    if (due->what == fault::kind::works_but_fails) work(state);
    return state.finish(due->code);
}

/** A call that releases: it does so whatever the script says. */
inline int perform_release(const char* function, const std::string& argument, fake_handle* handle) {
    fake_state& state = the_state();
    const std::optional<fault> due = state.enter(function, {argument});
    const int status = state.release(handle, function);
    return state.finish(due ? due->code : status);
}

/** Stands at the head of every function of the fake. */
struct call_scope {
    allocation_exemption exemption;
    std::lock_guard<std::mutex> lock{the_state().mutex};
};
