#pragma once

#include <cstdio>
#include <string>

namespace bench {

/**
 * Sends standard output to /dev/null from now on, where a trace costs the least; returns the one
 * that the program was given, for its results.
 */
std::FILE* hide_trace();

/**
 * Lets the allocator keep what is given back. Otherwise it returns the end of its memory to the
 * system and takes fresh pages the next time, or does not: that hangs on what happens to lie there.
 */
void keep_memory();

/** The memory that the process uses, without what the allocator keeps for later; kibibytes. */
long resident_kib();

/** "4 KiB", "16 MiB". */
std::string size_text(std::size_t size);

}  // namespace bench
