/** A device that no other run of the tool changes meanwhile. Nothing can be written to it yet. */
#pragma once

#include <functional>
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
    /** Reads the list anew, and of the stamps only those in this slot or not known before. */
    void read_changed(int slot);
    /** Sets what stamps() tells, for a device whose list could not be read whole. */
    void know(std::vector<stamp> stamps) { stamps_ = std::move(stamps); }

private:
    session* tokens_;
    device_id id_;
    device_lock lock_;
    std::optional<std::vector<stamp>> stamps_;
};

/** Looks at what a device holds under its lock; throws when that speaks against a change. */
using look_up = std::function<void(locked_device& device)>;

/**
 * Locks a device whose password the person knows. No lock is held while they are asked: the device
 * is locked, looked up and the password verified; a wrong one unlocks it, and all is done again as
 * long as they want and the device allows it. Throws as locked_device, look_up and
 * session::verify_password do, and failure (wrong_password).
 */
locked_device lock_with_password(session& tokens, const device_id& device, const look_up& wanted);

}  // namespace vemra::tool
