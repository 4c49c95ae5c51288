/** Decides what a restore does with each stamp of a backup. */
#pragma once

#include <string>
#include <vector>

#include "device_module/stamp.h"
#include "files/archive.h"

namespace vemra::tool {

struct restore_item {
    enum class action { present, append, replace, keep };

    action what;
    archived_stamp wanted;
    /** The stamp that is there already, is replaced, or is kept. */
    stamp there;
    /** Why nothing is done, for `keep`. */
    std::string reason;
};

/**
 * A stamp that is there with its name and bytes is left; one of the same name with other bytes is
 * replaced if `replace` says so; any other goes into a free slot. Without a free slot, or when its
 * bytes are in its old place under another name, the stamp there is replaced, if `replace` says so
 * and the backup does not hold that one too.
 */
std::vector<restore_item> plan_restore(const archive& kept, const std::vector<stamp>& present,
                                       bool replace);

}  // namespace vemra::tool
