/** How much is read again after a change. */
#pragma once

namespace vemra::tool {

/**
 * Everything that the device lists, or its list and the changed stamp alone. A change that failed,
 * or was about a stamp that cannot be read, is followed by reading everything.
 */
enum class verification { everything, changed };

}  // namespace vemra::tool
