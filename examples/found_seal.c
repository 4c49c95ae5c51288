#include "found_seal.h"

#include <stdio.h>
#include <string.h>

/* Fewer digits are more likely a slip than a choice. */
enum { shortest_uuid_start = 8 };

static void write_uuid_text(struct found_seal* seal) {
    size_t i = 0;
    char* text = seal->uuid_text;
    for (; i < seal->uuid_size && 2 * i + 2 < uuid_text_size; ++i) {
        snprintf(text + 2 * i, 3, "%02x", seal->uuid[i]);
    }
    text[2 * i] = '\0';
}

int take_seal(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, struct found_seal* seal) {
    const int status =
        VemraAppStampGetStamp(set, index, &seal->uuid, &seal->uuid_size, &seal->record);
    if (status == VEMRA_APP_STAMP_SUCCESS) write_uuid_text(seal);
    return status;
}

void free_seal(struct found_seal* seal) {
    VemraAppStampFreeMemory(seal->uuid);
    VemraAppStampFreeMemory(seal->record->name);
    VemraAppStampFreeStamp(seal->record);
}

int say_failure(const char* what, int status) {
    fprintf(stderr,
            "seal_demo: cannot %s: status %d, %s (the trace, kept by --trace, names the cause)\n",
            what, status, VemraAppStampGetErrorMessage(status));
    return 0;
}

/* The seals whose uuid begins so, counted; the last of them is left in *seal. */
static unsigned int match_seals(VEMRA_APP_STAMP_SET_HANDLE set, const char* uuid_start,
                                struct found_seal* seal) {
    unsigned int count = 0;
    unsigned int matches = 0;
    unsigned int i = 0;
    VemraAppStampGetStampCount(set, &count);
    for (; i < count; ++i) {
        struct found_seal candidate;
        if (take_seal(set, i, &candidate) != VEMRA_APP_STAMP_SUCCESS) continue;
        if (strncmp(candidate.uuid_text, uuid_start, strlen(uuid_start)) != 0) {
            free_seal(&candidate);
            continue;
        }
        if (matches > 0) free_seal(seal);
        *seal = candidate;
        ++matches;
    }
    return matches;
}

int find_seal(const char* uuid_start, struct found_seal* seal) {
    unsigned int matches = 0;
    VEMRA_APP_STAMP_SET_HANDLE set = NULL;
    if (strlen(uuid_start) < shortest_uuid_start) {
        fprintf(stderr, "seal_demo: give at least %d digits of the uuid\n", shortest_uuid_start);
        return 0;
    }
    set = VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_IMAGE, NULL, 0, -1);
    if (set == NULL) return say_failure("list the tokens", VemraAppStampGetLastError());

    matches = match_seals(set, uuid_start, seal);
    VemraAppStampFreeStamps(set);
    if (matches == 1) return 1;
    if (matches > 1) free_seal(seal);
    fprintf(stderr, "seal_demo: %u seals have a uuid that begins with %s\n", matches, uuid_start);
    return 0;
}
