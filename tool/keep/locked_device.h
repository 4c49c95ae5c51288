/** A device that no other run of the tool changes meanwhile. Nothing can be written to it yet. */
#pragma once

#include <optional>
#include <vector>

#include "keep/device_lock.h"
#include "keep/session.h"

namespace vemra::tool {

class locked_device {
public:
    /** Waits for other runs; throws failure (lock_timeout). */
    locked_device(session& tokens, const device_id& device);

    const device_id& id() const { return id_; }
    session& tokens() const { return *tokens_; }

    /** Its stamps, all of them, read when first asked for. Throws failure (failed). */
    const std::vector<stamp>& stamps();
    /** Reads them anew. */
    void read_again();
    /** Sets what stamps() tells, for a device whose list could not be read whole. */
    void know(std::vector<stamp> stamps) { stamps_ = std::move(stamps); }

private:
    session* tokens_;
    device_id id_;
    device_lock lock_;
    std::optional<std::vector<stamp>> stamps_;
};

}  // namespace vemra::tool
