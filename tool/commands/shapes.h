/** What stands in the object of --json, as output.schema.json describes it. */
#pragma once

#include "basics/failure.h"
#include "device_module/stamp.h"
#include "picture/picture.h"

namespace vemra::tool {

/** What a picture's file tells; unknown values are null. */
json picture_json(const picture& seen);
/** A stamp with what its bytes are. */
json stamp_json(const stamp& one, const picture& seen);

}  // namespace vemra::tool
