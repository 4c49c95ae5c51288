#include "store/harmless_text.h"

namespace vemra::softtoken {

std::string harmless(std::string text) {
    unsigned char before = 0;
    for (char& byte : text) {
        auto now = static_cast<unsigned char>(byte);
        // U+0080 to U+009F, which some terminals obey like an escape sequence.
        bool is_second_half = before == 0xc2 && now >= 0x80 && now <= 0x9f;
        if (now < ' ' || now == 0x7f || is_second_half) byte = '?';
        before = now;
    }
    return text;
}

}  // namespace vemra::softtoken
