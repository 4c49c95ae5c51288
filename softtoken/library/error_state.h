/** The last error, and what errors are called, as the tokens' knobs say. */
#pragma once

#include "personality/personality.h"

namespace vemra::softtoken {

/*
 * A copy that is never freed, the same one for equal behaviours: callers keep texts of it, and
 * calls go on with it while another thread reads the token's settings anew. Not for two threads at
 * once.
 */
const personality* kept_for_ever(const personality& behaviour);

/* The calling thread asks something of a token that behaves so; null for none. */
void note_asked(const personality* rules) noexcept;

/* The code of the last failure of this thread, or of the process; success while there was none. */
int last_error() noexcept;
/* Keeps a code, as a token with these knobs does (null for the usual ones), and returns it. */
int keep_error(int code, const personality* rules) noexcept;
/* A call came to a good end. */
void keep_success(const personality* rules) noexcept;

/* The text of a code, by the token that the thread, or else the process, asked last. */
const char* told_error_text(int code) noexcept;

}  // namespace vemra::softtoken
