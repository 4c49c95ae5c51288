/** Puts a new stamp on a device. */
#pragma once

#include "keep/pictured_stamp.h"
#include "keep/session.h"
#include "keep/storing_rule.h"
#include "keep/verification.h"

namespace vemra::tool {

/** What is to be stored, and where. */
struct append_request {
    device_choice device;
    std::string name;
    shared_bytes data;
    allowance waived;
    verification how = verification::everything;
};

/**
 * Returns the stamp as the device lists it. Throws refused_offer, and failure as find_device(),
 * locked_device, authorise() and authorised_change do.
 */
pictured_stamp append_stamp(session& tokens, const append_request& request);

}  // namespace vemra::tool
