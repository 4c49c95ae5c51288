#include "base/hex.h"

#include <algorithm>

namespace qo::base::codec::hex {

namespace {

// Growing a text fills it with zero bytes. In small pieces, each still in the nearest cache when
// its digits are written, this costs a long text no second pass over memory.
constexpr std::size_t bytes_at_once = 512;

// Arithmetic instead of a table, so that the compiler can turn the encoding loop into vectors.
inline char _digit_of(unsigned int value, unsigned int gap_before_letters) {
    return static_cast<char>('0' + value + (value > 9 ? gap_before_letters : 0));
}

void _write_digits(const unsigned char* bytes, std::size_t count, unsigned int gap_before_letters,
                   char* out) {
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = _digit_of(bytes[i] >> 4, gap_before_letters);
        out[2 * i + 1] = _digit_of(bytes[i] & 15, gap_before_letters);
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
    const unsigned int gap_before_letters = (upper ? 'A' : 'a') - '9' - 1;
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
