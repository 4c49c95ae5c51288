#include "picture/picture.h"

#include <magic.h>

#include <array>
#include <cmath>
#include <memory>
#include <regex>
#include <utility>

#include "basics/failure.h"
#include "picture/damage.h"
#include "picture/png_file.h"
#include "picture/png_opacity.h"

namespace vemra::tool {

namespace {

constexpr double inches_per_metre = 39.3700787;
// A square of 2048: several times the seals that are in use, and a few hundredths of a second.
constexpr std::size_t most_decoded_pixels = std::size_t{4} * 1024 * 1024;

struct magic_closer {
    void operator()(magic_set* cookie) const { magic_close(cookie); }
};
using magic_owner = std::unique_ptr<magic_set, magic_closer>;

magic_owner _open_magic() {
    magic_owner cookie(magic_open(MAGIC_NONE));
    if (cookie == nullptr || magic_load(cookie.get(), nullptr) != 0) {
        throw failure(exit_code::failed, "the media types of libmagic cannot be loaded");
    }
    return cookie;
}

std::string _ask_magic(int flags, const std::string& bytes) {
    static const magic_owner cookie = _open_magic();
    magic_setflags(cookie.get(), flags);
    const char* answer = magic_buffer(cookie.get(), bytes.data(), bytes.size());
    return answer == nullptr ? "" : answer;
}

// libmagic's description names the size of most kinds of pictures, as in ", 640 x 480".
void _read_described_size(const std::string& bytes, picture& seen) {
    const std::string text = _ask_magic(MAGIC_NONE, bytes);
    static const std::regex size(R"(, ([0-9]{1,6}) ?x ?([0-9]{1,6})\b)");
    const std::sregex_iterator end;
    for (std::sregex_iterator found(text.begin(), text.end(), size); found != end; ++found) {
        seen.width = static_cast<unsigned int>(std::stoul((*found)[1]));
        seen.height = static_cast<unsigned int>(std::stoul((*found)[2]));
    }
}

double _per_inch(unsigned int per_metre) {
    return std::round(per_metre / inches_per_metre * 10) / 10;
}

picture::transparency _transparency(const std::string& bytes, const png_file& told) {
    if (!told.damage.empty()) return picture::transparency::unknown;
    if (!told.can_be_transparent) return picture::transparency::no;
    switch (find_png_opacity(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                             most_decoded_pixels)) {
        case png_opaque:
            return picture::transparency::no;
        case png_transparent:
            return picture::transparency::yes;
        case png_opacity_unknown:
            break;
    }
    return picture::transparency::unknown;
}

void _read_png(const std::string& bytes, picture& seen) {
    const png_file told = read_png_file(file_bytes(bytes));
    if (told.width != 0) {
        seen.width = told.width;
        seen.height = told.height;
    }
    if (told.x_per_metre != 0) seen.x_resolution = _per_inch(told.x_per_metre);
    if (told.y_per_metre != 0) seen.y_resolution = _per_inch(told.y_per_metre);
    seen.transparent = _transparency(bytes, told);
    seen.damage = told.damage;
}

std::string _media_type(const std::string& bytes) {
    if (bytes.empty()) return "inode/x-empty";
    // libmagic wants the whole signature and the header of a PNG file.
    if (looks_like_png(bytes)) return "image/png";
    const std::string told = _ask_magic(MAGIC_MIME_TYPE, bytes);
    return told.empty() ? "application/octet-stream" : told;
}

}  // namespace

std::string picture::file_suffix() const {
    static constexpr std::array<std::pair<const char*, const char*>, 7> suffixes{
        {{"image/png", ".png"},
         {"image/jpeg", ".jpg"},
         {"image/gif", ".gif"},
         {"image/bmp", ".bmp"},
         {"image/webp", ".webp"},
         {"image/tiff", ".tif"},
         {"image/svg+xml", ".svg"}}};
    for (const auto& [type, suffix] : suffixes) {
        if (media_type == type) return suffix;
    }
    return ".bin";
}

std::string picture::pixels() const {
    if (!width || !height) return "-";
    return std::to_string(*width) + "x" + std::to_string(*height);
}

picture look_at(const std::string& bytes) {
    picture seen;
    seen.media_type = _media_type(bytes);
    if (seen.media_type == "image/png") {
        _read_png(bytes, seen);
    } else {
        if (seen.is_image()) _read_described_size(bytes, seen);
        seen.damage = find_damage(seen.media_type, bytes);
    }
    // These formats have no transparency at all.
    if (seen.media_type == "image/jpeg" || seen.media_type == "image/bmp") {
        seen.transparent = picture::transparency::no;
    }
    return seen;
}

std::string damage_of(const std::string& bytes) {
    return find_damage(_media_type(bytes), bytes);
}

}  // namespace vemra::tool
