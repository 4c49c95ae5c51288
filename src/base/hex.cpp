#include "base/hex.h"

namespace qo::base::codec::hex {

namespace {

// Arithmetic instead of a table, so that the compiler can turn the encoding loop into vectors.
inline char _digit_of(unsigned int value, unsigned int gap_before_letters) {
    return static_cast<char>('0' + value + (value > 9 ? gap_before_letters : 0));
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
    std::string text(count * 2, '\0');
    char* out = text.data();
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = _digit_of(bytes[i] >> 4, gap_before_letters);
        out[2 * i + 1] = _digit_of(bytes[i] & 15, gap_before_letters);
    }
    return text;
}

std::basic_string<unsigned char> decode(const char* text, const std::size_t& len) {
    std::basic_string<unsigned char> bytes;
    bytes.reserve((len + 1) / 2);
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
