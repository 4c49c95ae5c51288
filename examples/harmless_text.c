#include "harmless_text.h"

#include <stddef.h>
#include <string.h>

/* Besides the ASCII ones, UTF-8 knows the control characters U+0080 to U+009F: C2 80 to C2 9F.
 * Returns the bytes of the one that the text begins with, 0 when it begins with none. */
static size_t control_character_length(const char* text) {
    const unsigned char* byte = (const unsigned char*)text;
    if (byte[0] == 0) return 0;
    if (byte[0] < 0x20 || byte[0] == 0x7f) return 1;
    return byte[0] == 0xc2 && byte[1] >= 0x80 && byte[1] <= 0x9f ? 2 : 0;
}

int has_control_character(const char* text) {
    for (; *text != '\0'; ++text) {
        if (control_character_length(text) > 0) return 1;
    }
    return 0;
}

void make_harmless(char* text) {
    for (; *text != '\0'; ++text) {
        memset(text, '?', control_character_length(text));
    }
}
