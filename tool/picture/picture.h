/** What a stamp's bytes are, told by libmagic, and by libpng for PNG files. */
#pragma once

#include <optional>
#include <string>

namespace vemra::tool {

struct picture {
    enum class transparency { unknown, no, yes };

    std::string media_type;
    std::optional<unsigned int> width;
    std::optional<unsigned int> height;
    /** Pixels an inch. */
    std::optional<double> x_resolution;
    std::optional<double> y_resolution;
    transparency transparent = transparency::unknown;
    /** A PNG file that libpng cannot read to its end. */
    bool is_damaged = false;

    /** Of any format, readable or not. */
    bool is_image() const { return media_type.rfind("image/", 0) == 0; }
    /** ".png" and the like; ".bin" for what has no usual one. */
    std::string file_suffix() const;
    /** "640x480", or "-" when unknown. */
    std::string pixels() const;
};

/** Looks at the bytes of a whole file. Throws failure (failed) when libmagic cannot start. */
picture look_at(const std::string& bytes);

}  // namespace vemra::tool
