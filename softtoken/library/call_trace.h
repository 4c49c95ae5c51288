/** The trace of every device call, in the file that VEMRA_SOFTTOKEN_TRACE names. */
#pragma once

#include "library/call_facts.h"

namespace vemra::softtoken::call_trace {

/* Whether there is such a file; looked up at the first call. */
bool is_on() noexcept;

/*
 * Appends one line. It has sizes, but neither passwords nor bytes of slots. The length is the one
 * that the call told, below 0 for none; the result is a number, or "killed" for a call that ended
 * the process.
 */
void write(const call_facts& facts, int told_length, const char* result,
           long long microseconds) noexcept;

}  // namespace vemra::softtoken::call_trace
