/**
 * One check for each format: walks what the file tells of its own parts and lengths, without
 * decoding a pixel, and throws picture_damage for a file that is cut or does not hold together.
 * What follows a complete picture is no damage: readers do not look at it.
 *
 * The time each takes grows with the length of the file alone, whatever sizes it tells.
 */
#pragma once

#include "picture/file_bytes.h"

namespace vemra::tool {

/** Every block up to the trailer. */
void check_gif(const file_bytes& file);
/** Every segment up to the end marker, the entropy-coded data between them included. */
void check_jpeg(const file_bytes& file);
/** The length that the header tells, and the rows that follow from width and height. */
void check_bmp(const file_bytes& file);
/** The length that the header tells, and every chunk. */
void check_webp(const file_bytes& file);
/** Every directory, and the strips and tiles that it names. BigTIFF is not looked into. */
void check_tiff(const file_bytes& file);
/** The pictures that the directory of an icon file names. */
void check_icon(const file_bytes& file);
/** The boxes of HEIF, AVIF and JPEG 2000 files. */
void check_boxes(const file_bytes& file);
/** The end tag. Only of text in single bytes. */
void check_svg(const file_bytes& file);

}  // namespace vemra::tool
