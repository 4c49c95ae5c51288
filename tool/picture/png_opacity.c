#include "picture/png_opacity.h"

#include <png.h>
#include <setjmp.h>
#include <stdlib.h>
#include <string.h>

struct source {
    const unsigned char* next;
    size_t left;
};

static void read_bytes(png_structp png, png_bytep to, size_t size) {
    struct source* source = png_get_io_ptr(png);
    if (size > source->left) png_error(png, "end of file");
    memcpy(to, source->next, size);
    source->next += size;
    source->left -= size;
}

static void fail_quietly(png_structp png, png_const_charp message) {
    (void)message;
    png_longjmp(png, 1);
}

static void ignore_warning(png_structp png, png_const_charp message) {
    (void)png;
    (void)message;
}

/* Every chunk that does not shape the pixels is passed over: some hold texts to be inflated. */
static void set_up(png_structp png, png_infop info) {
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, NULL, -1);
    png_read_info(png, info);
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xff, PNG_FILLER_AFTER);
}

/* Pixels of a row that an interlaced pass does not reach stay opaque. */
static enum png_opacity read_rows(png_structp png, png_infop info, png_bytep row,
                                  size_t most_pixels) {
    const size_t width = png_get_image_width(png, info);
    const size_t height = png_get_image_height(png, info);
    const int passes = png_set_interlace_handling(png);
    png_start_read_image(png);
    for (int pass = 0; pass < passes; ++pass) {
        size_t left = most_pixels;
        for (size_t y = 0; y < height; ++y) {
            if (left < width) return png_opacity_unknown;
            left -= width;
            memset(row, 0xff, width * 4);
            png_read_row(png, row, NULL);
            for (size_t x = 0; x < width; ++x) {
                if (row[x * 4 + 3] != 0xff) return png_transparent;
            }
        }
    }
    return png_opaque;
}

enum png_opacity find_png_opacity(const unsigned char* bytes, size_t size, size_t most_pixels) {
    struct source source = {bytes, size};
    png_bytep volatile row = NULL;
    png_infop info = NULL;
    volatile enum png_opacity found = png_opacity_unknown;
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, NULL, fail_quietly, ignore_warning);
    if (png == NULL) return png_opacity_unknown;
    info = png_create_info_struct(png);
    if (info != NULL && setjmp(png_jmpbuf(png)) == 0) {
        png_set_read_fn(png, &source, read_bytes);
        set_up(png, info);
        if (png_get_image_width(png, info) <= most_pixels) {
            row = malloc((size_t)png_get_image_width(png, info) * 4);
        }
        if (row != NULL) found = read_rows(png, info, row, most_pixels);
    }
    free(row);
    png_destroy_read_struct(&png, &info, NULL);
    return found;
}
