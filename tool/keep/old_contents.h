/** Keeps what a change of a device may lose. */
#pragma once

#include <vector>

#include "keep/mapping_record.h"
#include "keep/recovery.h"

namespace vemra::tool {

/** What a device held before a change. */
struct old_contents {
    device_id device;
    mapping_record list;
    /** The stamps whose bytes are known, or why they are not. */
    std::vector<stamp> stamps;
};

/**
 * Keeps the list, which every change writes anew, and of the stamps those that the change may take
 * the bytes of. Throws as recovery does.
 */
recovery keep_list(session& tokens, const old_contents& old,
                   std::vector<archived_stamp> overwritten);
/** The same with all stamps that have bytes. */
recovery keep_all(session& tokens, const old_contents& old);

}  // namespace vemra::tool
