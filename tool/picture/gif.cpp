#include "picture/formats.h"

namespace vemra::tool {

namespace {

constexpr std::uint64_t screen_end = 13;
constexpr unsigned char extension = 0x21;
constexpr unsigned char image = 0x2c;
constexpr unsigned char trailer = 0x3b;

std::uint64_t _colour_table_bytes(unsigned char flags) {
    return (flags & 0x80U) == 0 ? 0 : std::uint64_t{3} << ((flags & 0x07U) + 1);
}

// Returns the place after the empty block that ends the row of them.
std::uint64_t _skip_data_blocks(const file_bytes& file, std::uint64_t at, const char* part) {
    while (const unsigned char length = file.byte(at, part)) {
        at += 1 + std::uint64_t{length};
    }
    return at + 1;
}

std::uint64_t _skip_image(const file_bytes& file, std::uint64_t at) {
    const unsigned char flags = file.byte(at + 9, "image");
    // The descriptor, the image's own colours, and the first size of its codes.
    return _skip_data_blocks(file, at + 11 + _colour_table_bytes(flags), "image");
}

}  // namespace

void check_gif(const file_bytes& file) {
    std::uint64_t at = screen_end + _colour_table_bytes(file.byte(10, "header"));
    bool has_image = false;
    for (;;) {
        const unsigned char kind = file.byte(at, "blocks, before the trailer");
        if (kind == trailer) break;
        if (kind == extension) {
            at = _skip_data_blocks(file, at + 2, "extension");
        } else if (kind == image) {
            at = _skip_image(file, at);
            has_image = true;
        } else {
            throw picture_damage("no block begins where one has to");
        }
    }
    if (!has_image) throw picture_damage("it holds no image");
}

}  // namespace vemra::tool
