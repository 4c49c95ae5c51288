/** What the chunks of a PNG file tell. No pixel is decoded. */
#pragma once

#include <cstdint>
#include <string>

#include "picture/file_bytes.h"

namespace vemra::tool {

struct png_file {
    /** 0 where no sound header tells them. */
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /** Pixels a metre; 0 when the file does not tell. */
    std::uint32_t x_per_metre = 0;
    std::uint32_t y_per_metre = 0;
    /** The file has an alpha channel or names transparent colours; pixels may be opaque still. */
    bool can_be_transparent = false;
    /** In the words of picture_damage; empty for a sound file. */
    std::string damage;
};

/** Told by either half of the signature and first chunk, so that damage to the other is seen. */
bool looks_like_png(std::string_view bytes);

/** Reads up to the end chunk or the first damage; what was told before it stands. */
png_file read_png_file(const file_bytes& file);

}  // namespace vemra::tool
