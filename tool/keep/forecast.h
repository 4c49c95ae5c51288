/**
 * How many bytes a run is going to move, for a bar that tells how far it is. Nothing is asked of a
 * device for that unless somebody watches.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "keep/mapping_record.h"
#include "keep/session.h"
#include "keep/verification.h"

namespace vemra::tool {

/** The bytes that a change replaces, and those that it stores. */
struct change_sizes {
    std::size_t old = 0;
    std::size_t wanted = 0;
};

/** What writing it moves: old bytes are read once more; a slot of another length is made first. */
constexpr std::size_t written_by(const change_sizes& change) {
    return change.old + (change.old == change.wanted ? 1 : 2) * change.wanted;
}

/** Remembers how long the stamps in these slots of a device are. */
void look_up_lengths(session& tokens, const device_id& device, const std::vector<int>& slots);
/** Remembers them of stamps that were read. */
void remember_lengths(session& tokens, const device_id& device, const std::vector<stamp>& stamps);

/** Expects changes of a device whose lengths are remembered: reading it, and each with its
 * verification. */
void expect_changes(session& tokens, const device_id& device,
                    const std::vector<change_sizes>& changes, verification how);

/** Shows that one stamp is read. */
std::unique_ptr<shown_work> show_reading(session& tokens, const named_stamp& one,
                                         const std::string& label);
/** Shows how many bytes were read of all that the slots for stamps hold. */
std::unique_ptr<shown_work> show_slots(session& tokens, const device_id& device,
                                       const std::string& label,
                                       const std::atomic<std::size_t>& read);
/** Shows how far the public interface is with listing devices. */
std::unique_ptr<shown_work> show_listing(session& tokens, const std::vector<device_id>& devices,
                                         const std::string& label);

}  // namespace vemra::tool
