#pragma once

#include <cstdint>
#include <string>

namespace qo::base {

/** The four bytes of `value`, the lowest first. */
inline std::string to_little_endian(std::uint32_t value) {
    std::string bytes;
    for (unsigned int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift & 0xff);
    }
    return bytes;
}

/** The number whose four bytes are at `bytes`, the lowest first. */
inline std::uint32_t from_little_endian(const unsigned char* bytes) {
    std::uint32_t value = 0;
    for (unsigned int i = 0; i < 4; ++i)
        value |= static_cast<std::uint32_t>(bytes[i]) << 8 * i;
    return value;
}

}  // namespace qo::base
