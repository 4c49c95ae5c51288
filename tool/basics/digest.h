#pragma once

#include <string>
#include <string_view>

namespace vemra::tool {

/** The SHA-256 digest in hexadecimal digits. */
std::string sha256(std::string_view bytes);

/** The bytes in base 64, on one line. */
std::string base64(std::string_view bytes);

}  // namespace vemra::tool
