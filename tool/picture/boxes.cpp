#include "picture/formats.h"

namespace vemra::tool {

void check_boxes(const file_bytes& file) {
    const char* const part = "boxes";
    bool has_picture = false;
    std::uint64_t at = 0;
    while (at < file.size()) {
        std::uint64_t length = file.big_endian(at, 4, part);
        const std::string_view kind = file.text(at + 4, 4, part);
        std::uint64_t header = 8;
        if (length == 1) {
            length = file.big_endian(at + 8, 8, part);
            header = 16;
        }
        has_picture = has_picture || kind == "mdat" || kind == "jp2c";
        // 0 stands for "to the end of the file".
        if (length == 0) break;
        if (length < header) throw picture_damage("a box tells a length that cannot be");
        file.require(at, length, part);
        at += length;
    }
    if (!has_picture) throw picture_damage("it holds no picture data");
}

}  // namespace vemra::tool
