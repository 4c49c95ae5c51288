#include "picture/file_bytes.h"

namespace vemra::tool {

void file_bytes::require(std::uint64_t at, std::uint64_t count, const char* part) const {
    if (at <= size() && count <= size() - at) return;
    throw picture_damage(std::string("the file ends within its ") + part);
}

std::uint64_t file_bytes::big_endian(std::uint64_t at, unsigned int count, const char* part) const {
    std::uint64_t value = 0;
    for (const char one : text(at, count, part)) {
        value = value << 8U | static_cast<unsigned char>(one);
    }
    return value;
}

std::uint64_t file_bytes::little_endian(std::uint64_t at, unsigned int count,
                                        const char* part) const {
    std::uint64_t value = 0;
    unsigned int shift = 0;
    for (const char one : text(at, count, part)) {
        value |= std::uint64_t{static_cast<unsigned char>(one)} << shift;
        shift += 8;
    }
    return value;
}

unsigned char file_bytes::byte(std::uint64_t at, const char* part) const {
    return static_cast<unsigned char>(text(at, 1, part).front());
}

std::string_view file_bytes::text(std::uint64_t at, std::uint64_t count, const char* part) const {
    require(at, count, part);
    return bytes_.substr(at, count);
}

}  // namespace vemra::tool
