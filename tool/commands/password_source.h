/** Where a password comes from, and how often it may be wrong. */
#pragma once

#include "commands/context.h"

namespace vemra::tool {

/**
 * Reads the password for a device and verifies it, so that context.tokens().password() holds the
 * right one afterwards. A person at a terminal may try again while the device allows it; a file or
 * a descriptor is tried once. Throws failure (wrong_password), (locked), or (usage) when there is
 * nowhere to read it from.
 */
void verify_password(context& run, const device_id& device);

/** Asks the person at the terminal; throws failure (usage) naming `option` when there is none. */
bool confirm(context& run, const std::string& question, const std::string& option);

}  // namespace vemra::tool
