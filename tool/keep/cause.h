/** Why a device refused, out of what the stamp library says. */
#pragma once

#include <string>
#include <string_view>

namespace vemra::tool {

/** "TEXT (CODE)" out of an error text of the library; the whole text when it names no cause. */
std::string cause_of(std::string_view error);

}  // namespace vemra::tool
