/** The contact sheet: one HTML page with every stamp's picture in it. */
#pragma once

#include <string>

#include "keep/listing.h"

namespace vemra::tool {

/**
 * Needs nothing but itself: no scripts, no other files, no network. What cannot be read has its
 * place on it, too: a page that is printed must not seem to be whole.
 */
std::string make_sheet(const held_stamps& held);

}  // namespace vemra::tool
