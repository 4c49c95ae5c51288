// A picture's file may tell anything of itself: the format's check ends, and does not read beyond
// it. A sound file cut anywhere is as good as any other input.

#include <array>

#include "fuzz_support.h"
#include "picture/damage.h"
#include "picture/file_bytes.h"
#include "picture/png_file.h"
#include "picture/png_opacity.h"

namespace {

constexpr std::array<const char*, 9> media_types{"image/png",
                                                 "image/jpeg",
                                                 "image/gif",
                                                 "image/bmp",
                                                 "image/webp",
                                                 "image/tiff",
                                                 "image/vnd.microsoft.icon",
                                                 "image/heic",
                                                 "image/svg+xml"};

constexpr std::size_t most_pixels = 100000;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices drawn(data, size);
    const std::string media_type = media_types[drawn.byte() % media_types.size()];
    const std::string bytes = drawn.rest();
    const std::string damage = vemra::tool::find_damage(media_type, bytes);
    claim(damage == vemra::tool::find_damage(media_type, bytes), "the same file, the same answer");
    if (media_type != "image/png") return 0;

    const vemra::tool::png_file told = vemra::tool::read_png_file(vemra::tool::file_bytes(bytes));
    const bool is_blank = bytes.find_first_not_of('\0') == std::string::npos;
    claim(is_blank ? !told.damage.empty() : told.damage == damage,
          "what is wrong is told in one way");
    claim(!damage.empty() || (told.width != 0 && told.height != 0), "a sound file has a size");
    // Damaged files, too, which the tool does not hand to the decoder.
    const auto* raw = reinterpret_cast<const unsigned char*>(bytes.data());
    const png_opacity found = find_png_opacity(raw, bytes.size(), most_pixels);
    claim(found != png_transparent || !damage.empty() || told.can_be_transparent,
          "only what can be transparent is");
    return 0;
}
