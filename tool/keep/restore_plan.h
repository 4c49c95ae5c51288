/** Decides what a restore does with each stamp of a backup. */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "device_module/stamp.h"
#include "files/archive.h"
#include "keep/storing_rule.h"

namespace vemra::tool {

/** One stamp of a backup, and what is done with it. */
struct restore_item {
    enum class action { present, append, replace, keep };

    action what;
    archived_stamp wanted;
    /** The stamp that is there already, is replaced, or was appended. */
    stamp there;
    /** Why nothing is done, for `keep`. */
    std::string reason;
    /** What would need a person's word elsewhere, and is restored because the backup holds it. */
    std::vector<std::string> doubts;
};

/** What speaks against storing something beside other stamps: objections_to() of a session. */
using storing_judge = std::function<std::vector<objection>(const offer& offered,
                                                           const std::vector<named_stamp>& others)>;

/**
 * What the storing rule forbids is kept out. A stamp that is there with its name and bytes is left;
 * one of the same name with other bytes is replaced if `replace` says so; any other goes into a
 * free slot. Without a free slot, or when its bytes are in its old place under another name, the
 * stamp there is replaced, if `replace` says so and the backup does not hold that one too.
 */
std::vector<restore_item> plan_restore(const archive& kept, const device_id& device,
                                       const std::vector<stamp>& present, bool replace,
                                       const storing_judge& judge);

}  // namespace vemra::tool
