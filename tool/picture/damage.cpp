#include "picture/damage.h"

#include <array>
#include <utility>

#include "picture/formats.h"
#include "picture/png_file.h"

namespace vemra::tool {

namespace {

using format_check = void (*)(const file_bytes&);

void _check_png(const file_bytes& file) {
    const png_file told = read_png_file(file);
    if (!told.damage.empty()) throw picture_damage(told.damage);
}

constexpr std::array<std::pair<const char*, format_check>, 13> checks{
    {{"image/png", _check_png},
     {"image/jpeg", check_jpeg},
     {"image/gif", check_gif},
     {"image/bmp", check_bmp},
     {"image/x-ms-bmp", check_bmp},
     {"image/webp", check_webp},
     {"image/tiff", check_tiff},
     {"image/vnd.microsoft.icon", check_icon},
     {"image/heic", check_boxes},
     {"image/heif", check_boxes},
     {"image/avif", check_boxes},
     {"image/jp2", check_boxes},
     {"image/svg+xml", check_svg}}};

}  // namespace

std::string find_damage(const std::string& media_type, std::string_view bytes) {
    // So reads a slot that was made anew for a picture which never came.
    const bool is_blank = bytes.find_first_not_of('\0') == std::string_view::npos;
    if (is_blank && !bytes.empty()) return "all its bytes are zero";
    try {
        for (const auto& [type, check] : checks) {
            if (media_type == type) check(file_bytes(bytes));
        }
    } catch (const picture_damage& damage) {
        return damage.what();
    }
    return "";
}

}  // namespace vemra::tool
