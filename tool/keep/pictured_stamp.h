/** A stamp together with what its bytes are, so that they are looked at once. */
#pragma once

#include "device_module/stamp.h"
#include "files/archive.h"
#include "picture/picture.h"

namespace vemra::tool {

struct pictured_stamp {
    stamp one;
    picture seen;
};

/** Looks at a stamp's bytes. */
pictured_stamp look_at(const stamp& one);

/** The stamp as an archive holds it; slot 0 is an unknown one. */
archived_stamp to_archive(const pictured_stamp& one, int slot = 0);

}  // namespace vemra::tool
