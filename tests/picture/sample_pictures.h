/** Small pictures, byte for byte, each with all that its format asks for. */
#pragma once

#include <string>
#include <string_view>

namespace samples {

/** From pairs of hexadecimal digits, a to f for ten and more. */
std::string bytes(std::string_view digits);

/** Two pixels, the second half transparent, 300 to the inch. */
std::string png_with_alpha();
/** An alpha channel in which both pixels are opaque. */
std::string png_with_opaque_alpha();
std::string png_without_alpha();
/** The palette has a transparent colour, which the pixel does not have. */
std::string png_with_opaque_colour();
/** The same palette; the pixel is transparent. */
std::string png_with_transparent_colour();
/** Two by two pixels; only the last one, of the last pass, is transparent. */
std::string interlaced_png();
/** The resolution comes after the picture data, where it does not count. */
std::string png_with_late_resolution();
/** An alpha channel, and sound chunks of data that no decoder takes. */
std::string undecodable_png();
/** A pixel, with an extension before it. */
std::string gif();
/** A frame and a scan whose data holds a stuffed byte and a restart marker. */
std::string jpeg();
/** Two rows from the top down. */
std::string bmp();
std::string bmp_with_old_header();
/** It does not tell the length of its file. */
std::string compressed_bmp();
/** A chunk of odd length. */
std::string webp();
/** Low bytes first; the data stands before the directory. */
std::string tiff_with_strip();
/** High bytes first, two tiles. */
std::string tiff_with_tiles();
std::string icon();
/** The second box tells its length in eight bytes. */
std::string heic();
std::string jp2();
std::string svg();

}  // namespace samples
