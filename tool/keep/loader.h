/** Finds and loads the stamp library and the module that speaks to it. */
#pragma once

#include <memory>
#include <string>

#include "device_module/tokens.h"

namespace vemra::tool {

/** Throws failure (no_device) with the two remedies when a library is missing. */
std::unique_ptr<tokens> load_tokens();

}  // namespace vemra::tool
