/**
 * What a stamp's bytes are, told by libmagic and by the file's own format. Pixels are decoded, with
 * libpng, only to tell whether a PNG file with an alpha channel is transparent, and few of them.
 */
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
    /** Unknown for most formats, and for a PNG file that is too large to be decoded for it. */
    transparency transparent = transparency::unknown;
    /** What shows it to be damaged or cut, to follow "damaged: "; empty for nothing. */
    std::string damage;

    bool is_damaged() const { return !damage.empty(); }
    /** Of any format, readable or not. */
    bool is_image() const { return media_type.rfind("image/", 0) == 0; }
    /** ".png" and the like; ".bin" for what has no usual one. */
    std::string file_suffix() const;
    /** "640x480", or "-" when unknown. */
    std::string pixels() const;
};

/** Looks at the bytes of a whole file. Throws failure (failed) when libmagic cannot start. */
picture look_at(const std::string& bytes);

/** The damage alone, without the rest. No pixel is decoded. Throws as look_at() does. */
std::string damage_of(const std::string& bytes);

}  // namespace vemra::tool
