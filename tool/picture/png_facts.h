/** What libpng tells about a PNG file. In C, because libpng reports errors with longjmp. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#include <stddef.h>

struct png_facts {
    unsigned int width;
    unsigned int height;
    /** Pixels a metre; 0 when the file does not tell. */
    unsigned int x_per_metre;
    unsigned int y_per_metre;
    /** Whether any pixel is not wholly opaque. */
    int is_transparent;
};

/** Reads a whole file in memory, every row of it. Returns 1, or 0 when it is damaged. */
int read_png_facts(const unsigned char* bytes, size_t size, struct png_facts* facts);

#ifdef __cplusplus
}
#endif
