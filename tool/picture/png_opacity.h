/** Whether a PNG file's pixels let the ground through. In C: libpng reports errors by longjmp. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#include <stddef.h>

enum png_opacity { png_opacity_unknown, png_opaque, png_transparent };

/**
 * Decodes rows from the top until a pixel is not wholly opaque. Gives up, as unknown, before it
 * has decoded more than most_pixels, and where libpng cannot read on.
 */
enum png_opacity find_png_opacity(const unsigned char* bytes, size_t size, size_t most_pixels);

#ifdef __cplusplus
}
#endif
