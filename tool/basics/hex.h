/** Bytes as hexadecimal digits. */
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vemra::tool {

/** Two digits a byte, in lower case. */
std::string to_hex(std::string_view bytes);
/** Nothing when the text is not an even number of hexadecimal digits. */
std::optional<std::string> from_hex(std::string_view digits);

}  // namespace vemra::tool
