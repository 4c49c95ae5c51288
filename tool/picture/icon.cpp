#include "picture/formats.h"

namespace vemra::tool {

void check_icon(const file_bytes& file) {
    const char* const part = "directory";
    const std::uint64_t pictures = file.little_endian(4, 2, part);
    if (pictures == 0) throw picture_damage("it holds no picture");
    for (std::uint64_t i = 0; i < pictures; ++i) {
        const std::uint64_t entry = 6 + i * 16;
        const std::uint64_t length = file.little_endian(entry + 8, 4, part);
        file.require(file.little_endian(entry + 12, 4, part), length, "picture data");
    }
}

}  // namespace vemra::tool
