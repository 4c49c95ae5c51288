/** Whether a file is seen to be damaged or cut, mostly by its own format. No pixel is decoded. */
#pragma once

#include <string>
#include <string_view>

namespace vemra::tool {

/**
 * What is wrong, in words that follow "damaged: "; empty for a sound file, and for media types
 * whose format is not known here unless all bytes are zero.
 */
std::string find_damage(const std::string& media_type, std::string_view bytes);

}  // namespace vemra::tool
