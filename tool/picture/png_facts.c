#include "picture/png_facts.h"

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

static void read_header(png_structp png, png_infop info, struct png_facts* facts) {
    int unit = PNG_RESOLUTION_UNKNOWN;
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    png_read_info(png, info);
    facts->width = png_get_image_width(png, info);
    facts->height = png_get_image_height(png, info);
    if (png_get_pHYs(png, info, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER) {
        facts->x_per_metre = x;
        facts->y_per_metre = y;
    }
}

/* Pixels of a row that an interlaced pass does not reach stay opaque. */
static void read_rows(png_structp png, png_infop info, png_bytep row, struct png_facts* facts) {
    const int passes = png_set_interlace_handling(png);
    png_start_read_image(png);
    for (int pass = 0; pass < passes; ++pass) {
        for (unsigned int y = 0; y < facts->height; ++y) {
            memset(row, 0xff, (size_t)facts->width * 4);
            png_read_row(png, row, NULL);
            for (size_t x = 0; x < facts->width; ++x) {
                if (row[x * 4 + 3] != 0xff) facts->is_transparent = 1;
            }
        }
    }
    png_read_end(png, info);
}

int read_png_facts(const unsigned char* bytes, size_t size, struct png_facts* facts) {
    struct source source = {bytes, size};
    png_bytep volatile row = NULL;
    png_infop info = NULL;
    memset(facts, 0, sizeof(*facts));
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, NULL, fail_quietly, ignore_warning);
    if (png == NULL) return 0;
    info = png_create_info_struct(png);
    if (info == NULL || setjmp(png_jmpbuf(png))) {
        free(row);
        png_destroy_read_struct(&png, &info, NULL);
        return 0;
    }
    png_set_read_fn(png, &source, read_bytes);
    read_header(png, info, facts);
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xff, PNG_FILLER_AFTER);
    row = malloc((size_t)facts->width * 4);
    if (row == NULL) png_error(png, "no memory");
    read_rows(png, info, row, facts);
    free(row);
    png_destroy_read_struct(&png, &info, NULL);
    return 1;
}
