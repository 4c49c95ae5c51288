/** What the tool refuses to write. */
#pragma once

#include <string>
#include <vector>

#include "commands/context.h"

namespace vemra::tool {

/** Throws failure (usage) for a name that does not survive the mapping or misleads readers. */
void check_name(const std::string& name);
/** Throws failure (usage) when another of the stamps has the name. */
void check_unused(const std::vector<stamp>& stamps, const std::string& name);
/** Throws failure (usage) for bytes that are no picture; warns of one without transparency. */
void check_picture(context& run, const std::string& data, bool any_data);

}  // namespace vemra::tool
