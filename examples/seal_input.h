/** What a seal is made of before it goes to a token: a name, bytes, and the token's password. */
#pragma once

#include <stddef.h>

/** The greatest picture that is advised: 16 MiB. */
enum { seal_size_limit = 16 * 1024 * 1024 };

/**
 * Tells what is wrong with a name, or NULL when it can be stored. The library joins names with "&"
 * and "||" and escapes nothing: a name with either is listed as another name or not at all, can
 * rename another seal, and is not refused by the library [names]. It does refuse the empty one.
 */
const char* seal_name_fault(const char* name);

/**
 * Reads a whole file of 1 to seal_size_limit bytes.
 *
 * Returns a buffer for free(), its length in *size; or NULL with errno set (EFBIG above the limit,
 * ENODATA for an empty file).
 */
unsigned char* read_whole_file(const char* path, size_t* size);

/** Makes a new file of these bytes. Returns 1; or 0 with errno set, and then leaves no file. */
int write_new_file(const char* path, const unsigned char* bytes, size_t size);

/**
 * Reads one line from standard input, without echo when a person types it.
 * Returns 1; or 0 when there is no line or it does not fit.
 */
int read_password(char* buffer, size_t size);
