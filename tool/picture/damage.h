/** Whether a file's own format shows it to be damaged or cut. No pixel is decoded. */
#pragma once

#include <string>
#include <string_view>

namespace vemra::tool {

/**
 * What is wrong, in words that follow "damaged: "; empty for a sound file, and for media types
 * whose format is not known here.
 */
std::string find_damage(const std::string& media_type, std::string_view bytes);

}  // namespace vemra::tool
