#include "basics/hex.h"

#include <algorithm>
#include <cctype>

#include "base/hex.h"

namespace vemra::tool {

std::string to_hex(std::string_view bytes) {
    return qo::base::codec::hex::encode(bytes.data(), bytes.size(), false);
}

std::optional<std::string> from_hex(std::string_view digits) {
    if (digits.size() % 2 != 0) return std::nullopt;
    const auto is_digit = [](unsigned char digit) { return std::isxdigit(digit) != 0; };
    if (!std::all_of(digits.begin(), digits.end(), is_digit)) return std::nullopt;
    const auto bytes = qo::base::codec::hex::decode(std::string(digits));
    return std::string(bytes.begin(), bytes.end());
}

}  // namespace vemra::tool
