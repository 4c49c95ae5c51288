/** One seal taken out of the library's list: its uuid, and a record with its bytes and name. */
#pragma once

#include <vemra_app_stamp.h>

/** Room for a uuid in hexadecimal with its NUL: digests have at most 64 bytes. */
enum { uuid_text_size = 2 * 64 + 1 };

struct found_seal {
    unsigned char* uuid;
    unsigned int uuid_size;
    char uuid_text[uuid_text_size];
    VEMRA_APP_STAMP_RECORD* record;
};

/** Takes one seal out of a set. Returns the library's status; free_seal gives it back when 1. */
int take_seal(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, struct found_seal* seal);

/** Gives back what take_seal took: the name apart from the record, as the library demands. */
void free_seal(struct found_seal* seal);

/**
 * Looks on all tokens for the one seal whose uuid begins with these hexadecimal digits, eight or
 * more, in lower case. Any use of a uuid must come after such a listing, in the same process.
 *
 * Returns 1, and the seal is the caller's to free; or 0 after saying on standard error why not.
 */
int find_seal(const char* uuid_start, struct found_seal* seal);

/** Says on standard error what the library could not do, with its status. Returns 0. */
int say_failure(const char* what, int status);
