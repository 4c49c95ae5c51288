/** Names one of the listed stamps: a uuid, a unique prefix of one, or name:TEXT. */
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "basics/failure.h"
#include "device_module/stamp.h"

namespace vemra::tool {

/** A selector that fits several stamps (ambiguous). */
class ambiguous_selector : public failure {
public:
    ambiguous_selector(const std::string& message, std::vector<named_stamp> candidates)
        : failure(exit_code::ambiguous, message), candidates_(std::move(candidates)) {}

    const std::vector<named_stamp>& candidates() const noexcept { return candidates_; }

private:
    std::vector<named_stamp> candidates_;
};

/**
 * `unknown` are devices whose lists cannot be read. Throws ambiguous_selector, or failure:
 * (no_stamp), or (failed) when it may be on one of those; (usage) for an unusable selector.
 */
const named_stamp& select_stamp(const std::vector<named_stamp>& stamps,
                                const std::vector<device_id>& unknown, const std::string& selector);

}  // namespace vemra::tool
