#include "store/harmless_text.h"

#include <cstdio>
#include <new>

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

void tell(const char* about, const char* text) noexcept {
    try {
        std::fprintf(stderr, "vemra-softtoken: %s%s\n", about, harmless(text).c_str());
    } catch (const std::bad_alloc&) {
        return;  // Whatever the call is about to answer, it can.
    }
}

}  // namespace vemra::softtoken
