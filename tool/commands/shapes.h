/** How devices, stamps and failures are told: in the object of --json, and failures to people. */
#pragma once

#include <string>
#include <vector>

#include "basics/failure.h"
#include "commands/context.h"
#include "keep/check.h"
#include "keep/pictured_stamp.h"

namespace vemra::tool {

/* As output.schema.json describes them. */

json device_json(const device_id& device);
/** A stamp's uuid, name and device. */
json identity_json(const named_stamp& one);
/** What a picture's file tells; unknown values are null. */
json picture_json(const picture& seen);
/** A stamp with what its bytes are. */
/** One that cannot be read. */
json unreadable_json(const stamp& one);
json stamp_json(const pictured_stamp& shown);
json findings_json(const std::vector<finding>& findings);
json error_json(const failure& error);

/** A failure's text, with the options and commands that help. */
std::string message_of(const failure& error);

}  // namespace vemra::tool
