/** The contact sheet: one HTML page with every stamp's picture in it. */
#pragma once

#include <string>
#include <vector>

#include "device_module/stamp.h"

namespace vemra::tool {

/** Needs nothing but itself: no scripts, no other files, no network. */
std::string make_sheet(const std::vector<stamp>& stamps);

}  // namespace vemra::tool
