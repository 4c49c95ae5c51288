/** Reading the stamps of devices, with the person told that it takes time. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "keep/session.h"

namespace vemra::tool {

/** The stamps of the device that is meant, or of all. Errors of single stamps are in errors(). */
stamp_list list_stamps(session& tokens, const device_choice& choice = {});

/** The stamps of all devices, to select from; what could not be read is warned of. */
std::vector<stamp> stamps_for_selection(session& tokens);

/** The stamps of one device, for what must know all of it: anything unreadable is (failed). */
std::vector<stamp> whole_list(session& tokens, const device_id& device);

}  // namespace vemra::tool
