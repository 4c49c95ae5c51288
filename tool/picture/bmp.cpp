#include <cstdlib>

#include "picture/formats.h"

namespace vemra::tool {

namespace {

constexpr std::uint64_t info_header = 14;
// The older header has two bytes for width and height each, and nothing but plain rows.
constexpr std::uint64_t core_header_size = 12;

constexpr const char* header_part = "header";
constexpr const char* pixel_rows = "rows of pixels";

struct bitmap {
    std::uint64_t width;
    std::uint64_t height;
    std::uint64_t bits;
    bool is_compressed;
    std::uint64_t data_bytes;
};

std::uint64_t _distance_from_zero(std::uint64_t field) {
    return static_cast<std::uint64_t>(
        std::llabs(static_cast<std::int32_t>(static_cast<std::uint32_t>(field))));
}

bitmap _read_header(const file_bytes& file) {
    const std::uint64_t at = info_header;
    if (file.little_endian(at, 4, header_part) == core_header_size) {
        return {file.little_endian(at + 4, 2, header_part),
                file.little_endian(at + 6, 2, header_part),
                file.little_endian(at + 10, 2, header_part), false, 0};
    }
    const std::uint64_t compression = file.little_endian(at + 16, 4, header_part);
    // Two kinds of masks for colours (3 and 6) leave the rows as they are. Rows from the top down
    // are told by a negative height.
    return {_distance_from_zero(file.little_endian(at + 4, 4, header_part)),
            _distance_from_zero(file.little_endian(at + 8, 4, header_part)),
            file.little_endian(at + 14, 2, header_part),
            compression != 0 && compression != 3 && compression != 6,
            file.little_endian(at + 20, 4, header_part)};
}

}  // namespace

void check_bmp(const file_bytes& file) {
    // 0 stands for "not told": some writers leave it.
    file.require(0, file.little_endian(2, 4, header_part), pixel_rows);
    const std::uint64_t pixels_at = file.little_endian(10, 4, header_part);
    const bitmap told = _read_header(file);
    if (told.is_compressed) {
        file.require(pixels_at, told.data_bytes, pixel_rows);
        return;
    }
    const std::uint64_t row_bytes = (told.width * told.bits + 31) / 32 * 4;
    file.require(pixels_at, 0, pixel_rows);
    if (row_bytes == 0 || told.height == 0) throw picture_damage("it holds no pixels");
    // By division: the product of what a file tells may not fit.
    if (told.height > (file.size() - pixels_at) / row_bytes) {
        throw picture_damage(std::string("the file ends within its ") + pixel_rows);
    }
}

}  // namespace vemra::tool
