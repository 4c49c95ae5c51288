#include "base/hex.h"

#include <algorithm>
#include <cstring>

namespace qo::base::codec::hex {

namespace {

// Growing a text fills it with zero bytes. In small pieces, each still in the nearest cache when
// its digits are written, this costs a long text no second pass over memory.
constexpr std::size_t bytes_at_once = 512;

inline char _digit_of(unsigned int value, unsigned char gap_before_letters) {
    return static_cast<char>('0' + value + (value > 9 ? gap_before_letters : 0U));
}

// Vectors by name, not from a plain loop: that becomes one only at some levels of optimising, and
// the level is the choice of whoever builds.
constexpr std::size_t block_size = 16;
using block = unsigned char __attribute__((vector_size(block_size)));

// In place: returned by value, a vector would be called in another way on machines without them.
inline void _turn_into_digits(block& values, unsigned char gap_before_letters) {
    const auto letters = reinterpret_cast<block>(values > 9);
    values += static_cast<unsigned char>('0') + (letters & gap_before_letters);
}

inline void _write_block(const unsigned char* bytes, unsigned char gap_before_letters, char* out) {
    block values;
    std::memcpy(&values, bytes, block_size);
    block high = values >> 4;
    block low = values & 15;
    _turn_into_digits(high, gap_before_letters);
    _turn_into_digits(low, gap_before_letters);
    const block front =
        __builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const block back = __builtin_shufflevector(high, low, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13,
                                               29, 14, 30, 15, 31);
    std::memcpy(out, &front, block_size);
    std::memcpy(out + block_size, &back, block_size);
}

void _write_digits(const unsigned char* bytes, std::size_t count, unsigned char gap_before_letters,
                   char* out) {
    std::size_t done = 0;
    for (; count - done >= block_size; done += block_size) {
        _write_block(bytes + done, gap_before_letters, out + 2 * done);
    }
    for (; done < count; ++done) {
        out[2 * done] = _digit_of(bytes[done] >> 4, gap_before_letters);
        out[2 * done + 1] = _digit_of(bytes[done] & 15, gap_before_letters);
    }
}

int _value_of(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'Z') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'z') return digit - 'a' + 10;
    return 0;
}

}  // namespace

std::string encode(const void* data, const std::size_t& len, bool upper) {
    if (data == nullptr) return {};

    const auto* bytes = static_cast<const unsigned char*>(data);
    const std::size_t count = len;
    const auto gap_before_letters = static_cast<unsigned char>((upper ? 'A' : 'a') - '9' - 1);
    std::string text;
    text.reserve(count * 2);
    for (std::size_t done = 0; done < count;) {
        const std::size_t end = done + std::min(count - done, bytes_at_once);
        text.resize(end * 2);
        _write_digits(bytes + done, end - done, gap_before_letters, text.data() + done * 2);
        done = end;
    }
    return text;
}

std::basic_string<unsigned char> decode(const char* text, const std::size_t& len) {
    std::basic_string<unsigned char> bytes;
    for (std::size_t i = 0; i < len; i += 2) {
        bytes.push_back(
            static_cast<unsigned char>(_value_of(text[i]) * 16 + _value_of(text[i + 1])));
    }
    return bytes;
}

std::basic_string<unsigned char> decode(const std::string& text) {
    return decode(text.c_str(), text.size());
}

}  // namespace qo::base::codec::hex
