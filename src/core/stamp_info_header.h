#pragma once

#include <cstddef>
#include <optional>

#include "base/little_endian.h"

namespace vemra::app::stamp {

/** How the bytes of slot 8127 begin. */
struct stamp_info_header {
    static constexpr std::size_t length = 5;
    static constexpr unsigned char known_version = 1;

    /** Of all bytes, this header's included. */
    std::size_t total_length;
    unsigned char version;
};

/** What the bytes tell of themselves, unchecked; nothing when there are too few. */
inline std::optional<stamp_info_header> parse_stamp_info_header(const unsigned char* bytes,
                                                                std::size_t size) {
    if (size < stamp_info_header::length) return std::nullopt;
    return stamp_info_header{qo::base::from_little_endian(bytes), bytes[4]};
}

}  // namespace vemra::app::stamp
