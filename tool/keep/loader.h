/** Finds and loads the stamp library and the module that speaks to it. */
#pragma once

#include <memory>

#include "device_module/tokens.h"

namespace vemra::tool {

/** Throws failure (no_device) with the two remedies when a library is missing. */
std::unique_ptr<tokens> load_tokens();

/** What is done with devices; to change them they are read as well. */
enum class reach { reading, changing };

/**
 * Throws failure (no_device), naming them, when the device library lacks functions that the stamp
 * library or the module may call then: a call of such a function would end the process. For after
 * load_tokens().
 */
void require_functions(reach wanted);

}  // namespace vemra::tool
