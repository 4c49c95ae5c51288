/* Preloaded: when the process exits, searches all of its memory for the bytes that
 * MEMORY_PROBE_CANARY names in hexadecimal digits, and writes "found" or "absent" into the file
 * MEMORY_PROBE_RESULT. The bytes themselves never stand together in this library's own memory. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int digit(char letter) {
    return letter <= '9' ? letter - '0' : letter - 'a' + 10;
}

static int stands_at(const unsigned char* place, const char* digits, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (place[i] != digit(digits[2 * i]) * 16 + digit(digits[2 * i + 1])) return 0;
    }
    return 1;
}

static int stands_in(const unsigned char* start, const unsigned char* end, const char* digits) {
    const size_t length = strlen(digits) / 2;
    for (const unsigned char* place = start; place + length <= end; ++place) {
        if (stands_at(place, digits, length)) return 1;
    }
    return 0;
}

/* Only what can be written can hold what was read while the program ran. */
static int stands_in_memory(const char* digits) {
    FILE* maps = fopen("/proc/self/maps", "r");
    char line[512];
    int found = 0;
    while (maps != NULL && !found && fgets(line, sizeof(line), maps) != NULL) {
        unsigned long start = 0;
        unsigned long end = 0;
        char rights[8] = "";
        if (sscanf(line, "%lx-%lx %7s", &start, &end, rights) != 3) continue;
        if (rights[0] != 'r' || rights[1] != 'w') continue;
        found = stands_in((const unsigned char*)start, (const unsigned char*)end, digits);
    }
    if (maps != NULL) fclose(maps);
    return found;
}

__attribute__((destructor)) static void search(void) {
    const char* digits = getenv("MEMORY_PROBE_CANARY");
    const char* path = getenv("MEMORY_PROBE_RESULT");
    if (digits == NULL || path == NULL) return;
    FILE* result = fopen(path, "w");
    if (result == NULL) return;
    fputs(stands_in_memory(digits) ? "found" : "absent", result);
    fclose(result);
}
