#include "picture/formats.h"

namespace vemra::tool {

void check_webp(const file_bytes& file) {
    const char* const part = "chunks";
    const std::uint64_t end = 8 + file.little_endian(4, 4, part);
    file.require(0, end, part);
    bool has_picture = false;
    std::uint64_t at = 12;
    while (at < end) {
        const std::string_view kind = file.text(at, 4, part);
        const std::uint64_t length = file.little_endian(at + 4, 4, part);
        file.require(at + 8, length, part);
        // Chunks begin at even places.
        at += 8 + length + length % 2;
        has_picture = has_picture || kind == "VP8 " || kind == "VP8L" || kind == "ANMF";
    }
    if (!has_picture) throw picture_damage("it holds no picture data");
    if (at > end + 1) throw picture_damage("a chunk is longer than what holds it");
}

}  // namespace vemra::tool
