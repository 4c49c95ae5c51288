#include "fast_hex.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace bench {

namespace {

constexpr char digits_of[] = "0123456789abcdef";

#ifdef __SSE2__
__m128i _digits(__m128i values) {
    const __m128i above_nine = _mm_cmpgt_epi8(values, _mm_set1_epi8(9));
    const __m128i gap = _mm_and_si128(above_nine, _mm_set1_epi8('a' - '9' - 1));
    return _mm_adds_epu8(_mm_adds_epu8(values, _mm_set1_epi8('0')), gap);
}

// Whole groups of 16 bytes; tells how many bytes are done.
std::size_t _hex_in_groups(const unsigned char* bytes, std::size_t count, char* digits) {
    const __m128i low_half = _mm_set1_epi8(15);
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i group = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        const __m128i high = _digits(_mm_and_si128(_mm_srli_epi16(group, 4), low_half));
        const __m128i low = _digits(_mm_and_si128(group, low_half));
        auto* out = reinterpret_cast<__m128i*>(digits + 2 * i);
        _mm_storeu_si128(out, _mm_unpacklo_epi8(high, low));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(high, low));
    }
    return i;
}
#else
std::size_t _hex_in_groups(const unsigned char*, std::size_t, char*) {
    return 0;
}
#endif

}  // namespace

void fast_hex(const unsigned char* bytes, std::size_t count, char* digits) {
    for (std::size_t i = _hex_in_groups(bytes, count, digits); i < count; ++i) {
        digits[2 * i] = digits_of[bytes[i] >> 4];
        digits[2 * i + 1] = digits_of[bytes[i] & 15];
    }
}

}  // namespace bench
