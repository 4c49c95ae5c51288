/**
 * Keeps the stamp library's trace off the application's own output.
 *
 * The library prints its trace, device passwords included, on standard output. Nothing turns it
 * off, so the application gives it another standard output and keeps the real one for itself.
 */
#pragma once

#include <stdio.h>

/**
 * Sends descriptor 1 to trace_path, and whatever prints on stdout with it. Called before the first
 * call of the library and before anything is printed on stdout.
 *
 * trace_path  in  a file that only its owner can read; it is made if missing and appended to.
 *                 A file that others may read, or that is not one's own, is refused. NULL discards
 *                 the trace.
 *
 * Returns a stream to the former standard output, or NULL with errno set.
 */
FILE* keep_own_output(const char* trace_path);
