#include "picture/formats.h"

namespace vemra::tool {

namespace {

constexpr unsigned char start_of_image = 0xd8;
constexpr unsigned char end_of_image = 0xd9;
constexpr unsigned char start_of_scan = 0xda;

bool _is_start_of_frame(unsigned char marker) {
    // Three codes of that range tell tables and conditions instead.
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

bool _is_restart(unsigned char marker) {
    return marker >= 0xd0 && marker <= 0xd7;
}

// Returns the place after the marker.
std::uint64_t _read_marker(const file_bytes& file, std::uint64_t at, unsigned char& marker) {
    const char* const part = "segments, before the end marker";
    if (file.byte(at, part) != 0xff) throw picture_damage("no segment begins where one has to");
    // Any number of fill bytes may stand before the code.
    do {
        marker = file.byte(++at, part);
    } while (marker == 0xff);
    return at + 1;
}

// Below 0xc0, what follows 0xff within coded data is part of the data, and so are restart markers.
std::uint64_t _find_end_of_scan(const file_bytes& file, std::uint64_t at) {
    const std::string_view bytes = file.all();
    for (;;) {
        at = bytes.find('\xff', at);
        if (at == std::string_view::npos || at + 1 >= bytes.size()) {
            throw picture_damage("the file ends within its picture data, before the end marker");
        }
        const auto code = static_cast<unsigned char>(bytes[at + 1]);
        if (code >= 0xc0 && code != 0xff && !_is_restart(code)) return at;
        ++at;
    }
}

}  // namespace

void check_jpeg(const file_bytes& file) {
    unsigned char marker = 0;
    std::uint64_t at = _read_marker(file, 0, marker);
    if (marker != start_of_image) throw picture_damage("it does not begin with the start marker");
    bool has_frame = false;
    bool has_scan = false;
    for (;;) {
        at = _read_marker(file, at, marker);
        if (marker == end_of_image) break;
        const std::uint64_t length = file.big_endian(at, 2, "segments, before the end marker");
        if (length < 2) throw picture_damage("a segment tells a length that cannot be");
        file.require(at, length, "segments, before the end marker");
        at += length;
        has_frame = has_frame || _is_start_of_frame(marker);
        if (marker == start_of_scan) {
            has_scan = true;
            at = _find_end_of_scan(file, at);
        }
    }
    if (!has_frame || !has_scan) throw picture_damage("it holds no picture data");
}

}  // namespace vemra::tool
