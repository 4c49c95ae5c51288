// The hex decoder takes any terminated text; what the encoder wrote it decodes to the same bytes.

#include "base/hex.h"

#include <vector>

#include "fuzz_support.h"

namespace hex = qo::base::codec::hex;

namespace {

// Counted up to Z; whatever is no digit and no letter is 0.
unsigned int _value(unsigned char digit) {
    static const std::string digits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const bool is_lower = digit >= 'a' && digit <= 'z';
    const std::size_t found = digits.find(static_cast<char>(is_lower ? digit - 'a' + 'A' : digit));
    return found == std::string::npos ? 0 : static_cast<unsigned int>(found);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Of its own exact size, the terminator included, so that a read beyond it is seen.
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    std::basic_string<unsigned char> wanted;
    for (std::size_t i = 0; i < size; i += 2) {
        const unsigned int high = _value(static_cast<unsigned char>(text[i]));
        const unsigned int low = _value(static_cast<unsigned char>(text[i + 1]));
        wanted.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    claim(hex::decode(text.data(), size) == wanted, "each pair of digits is one byte");

    const std::basic_string<unsigned char> bytes(data, size);
    for (const bool upper : {false, true}) {
        const std::string encoded = hex::encode(data, size, upper);
        claim(encoded.size() == 2 * size, "each byte is two digits");
        claim(hex::decode(encoded) == bytes, "what was encoded is decoded again");
    }
    return 0;
}
