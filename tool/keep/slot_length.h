/** How long stamps are: a device tells that without moving their bytes. */
#pragma once

#include <optional>

#include "keep/session.h"

namespace vemra::tool {

/** How many bytes a stamp has, without reading them; nothing when the device does not tell. */
std::optional<int> length_of(session& tokens, const named_stamp& one);

}  // namespace vemra::tool
