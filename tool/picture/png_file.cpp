#include "picture/png_file.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>

namespace vemra::tool {

namespace {

constexpr std::string_view signature("\x89PNG\r\n\x1a\n", 8);
constexpr std::string_view header_start("\0\0\0\rIHDR", 8);
constexpr std::uint32_t greatest_number = 0x7fffffff;

constexpr unsigned int palette_colours = 3;
constexpr unsigned int grey_with_alpha = 4;
constexpr unsigned int colours_with_alpha = 6;

struct chunk {
    std::string type;
    std::uint64_t data_at = 0;
    std::uint64_t length = 0;

    std::uint64_t end() const { return data_at + length + 4; }
};

bool _is_chunk_type(std::string_view type) {
    return std::all_of(type.begin(), type.end(), [](char one) {
        return (one >= 'A' && one <= 'Z') || (one >= 'a' && one <= 'z');
    });
}

std::uint32_t _number(const file_bytes& file, std::uint64_t at) {
    return static_cast<std::uint32_t>(file.big_endian(at, 4, "chunks"));
}

chunk _read_chunk(const file_bytes& file, std::uint64_t at) {
    chunk read;
    file.require(at, 8, "chunks, before the end chunk");
    read.length = _number(file, at);
    read.type = file.text(at + 4, 4, "chunks");
    read.data_at = at + 8;
    if (!_is_chunk_type(read.type)) throw picture_damage("no chunk begins where one has to");
    file.require(read.data_at, read.length + 4, ("chunk " + read.type).c_str());
    const std::string_view summed = file.text(at + 4, read.length + 4, "chunks");
    const auto sum =
        crc32_z(0, reinterpret_cast<const unsigned char*>(summed.data()), summed.size());
    if (sum != _number(file, read.data_at + read.length)) {
        throw picture_damage("the checksum of its chunk " + read.type + " is wrong");
    }
    return read;
}

bool _is_depth_of(unsigned int colours, unsigned int bits) {
    switch (colours) {
        case 0:
            return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
        case palette_colours:
            return bits == 1 || bits == 2 || bits == 4 || bits == 8;
        case 2:
        case grey_with_alpha:
        case colours_with_alpha:
            return bits == 8 || bits == 16;
        default:
            return false;
    }
}

class png_walk {
public:
    png_walk(const file_bytes& file, png_file& told) : file_(file), told_(told) {}

    void check() {
        if (file_.text(0, signature.size(), "signature") != signature) {
            throw picture_damage("its signature is wrong");
        }
        chunk one = _read_chunk(file_, signature.size());
        if (one.type != "IHDR") throw picture_damage("it does not begin with its header");
        _read_header(one);
        while (one.type != "IEND") {
            one = _read_chunk(file_, one.end());
            _take(one);
        }
        if (!has_data_) throw picture_damage("it holds no picture data");
    }

private:
    void _read_header(const chunk& header) {
        const std::uint64_t at = header.data_at;
        const std::uint32_t width = header.length == 13 ? _number(file_, at) : 0;
        const std::uint32_t height = header.length == 13 ? _number(file_, at + 4) : 0;
        const bool has_size =
            width != 0 && height != 0 && std::max(width, height) <= greatest_number;
        if (!has_size) throw picture_damage("its header tells a size that cannot be");
        told_.width = width;
        told_.height = height;
        colours_ = file_.byte(at + 9, "header");
        if (!_is_depth_of(colours_, file_.byte(at + 8, "header"))) {
            throw picture_damage("its header tells colours that cannot be");
        }
        // One way to compress and to filter is known, and two orders of rows.
        if (file_.byte(at + 10, "header") != 0 || file_.byte(at + 11, "header") != 0 ||
            file_.byte(at + 12, "header") > 1) {
            throw picture_damage("its header tells methods that are not known");
        }
        told_.can_be_transparent = colours_ == grey_with_alpha || colours_ == colours_with_alpha;
    }

    void _take(const chunk& one) {
        if (one.type == "PLTE") has_palette_ = true;
        if (one.type == "tRNS") told_.can_be_transparent = true;
        if (one.type == "pHYs") _read_resolution(one);
        if (one.type != "IDAT") return;
        if (colours_ == palette_colours && !has_palette_) {
            throw picture_damage("its palette is missing");
        }
        has_data_ = true;
    }

    void _read_resolution(const chunk& one) {
        // What follows the picture data, and what is counted in no known unit, does not hold.
        const bool is_in_metres =
            one.length == 9 && !has_data_ && file_.byte(one.data_at + 8, "resolution") == 1;
        if (!is_in_metres) return;
        told_.x_per_metre = _number(file_, one.data_at);
        told_.y_per_metre = _number(file_, one.data_at + 4);
    }

    const file_bytes& file_;
    png_file& told_;
    unsigned int colours_ = 0;
    bool has_palette_ = false;
    bool has_data_ = false;
};

}  // namespace

bool looks_like_png(std::string_view bytes) {
    return bytes.substr(0, 4) == signature.substr(0, 4) ||
           (bytes.size() >= 16 && bytes.substr(8, 8) == header_start);
}

png_file read_png_file(const file_bytes& file) {
    png_file told;
    try {
        png_walk(file, told).check();
    } catch (const picture_damage& damage) {
        told.damage = damage.what();
    }
    return told;
}

}  // namespace vemra::tool
