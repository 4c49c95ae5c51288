/** Replaces a stamp's picture, its name, or both. */
#pragma once

#include <optional>
#include <string>

#include "keep/pictured_stamp.h"
#include "keep/session.h"
#include "keep/storing_rule.h"
#include "keep/verification.h"

namespace vemra::tool {

/** A part that is left out stays as it is. */
struct update_request {
    std::string selector;
    std::optional<std::string> name;
    std::optional<shared_bytes> data;
    allowance waived;
    verification how = verification::everything;
};

/**
 * Returns the stamp as it is then. Throws as select_stamp() and append_stamp() do, and (no_stamp)
 * when another run took the selected stamp away meanwhile.
 */
pictured_stamp update_stamp(session& tokens, const update_request& request);

}  // namespace vemra::tool
