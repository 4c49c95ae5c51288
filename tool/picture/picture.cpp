#include "picture/picture.h"

#include <magic.h>

#include <array>
#include <cmath>
#include <memory>
#include <regex>
#include <utility>

#include "basics/failure.h"
#include "picture/png_facts.h"

namespace vemra::tool {

namespace {

constexpr double inches_per_metre = 39.3700787;

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

void _read_png(const std::string& bytes, picture& seen) {
    png_facts facts{};
    seen.is_damaged = read_png_facts(reinterpret_cast<const unsigned char*>(bytes.data()),
                                     bytes.size(), &facts) == 0;
    if (seen.is_damaged) return;
    seen.width = facts.width;
    seen.height = facts.height;
    if (facts.x_per_metre != 0) seen.x_resolution = _per_inch(facts.x_per_metre);
    if (facts.y_per_metre != 0) seen.y_resolution = _per_inch(facts.y_per_metre);
    seen.transparent =
        facts.is_transparent != 0 ? picture::transparency::yes : picture::transparency::no;
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
    seen.media_type = bytes.empty() ? "inode/x-empty" : _ask_magic(MAGIC_MIME_TYPE, bytes);
    if (seen.media_type.empty()) seen.media_type = "application/octet-stream";
    if (seen.media_type == "image/png") {
        _read_png(bytes, seen);
    } else if (seen.is_image()) {
        _read_described_size(bytes, seen);
    }
    // These formats have no transparency at all.
    if (seen.media_type == "image/jpeg" || seen.media_type == "image/bmp") {
        seen.transparent = picture::transparency::no;
    }
    return seen;
}

}  // namespace vemra::tool
