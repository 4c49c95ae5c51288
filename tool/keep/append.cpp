#include "keep/append.h"

#include <vector>

#include "keep/authorised_change.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/listing.h"
#include "keep/mapping_record.h"
#include "keep/read_locks.h"

namespace vemra::tool {

namespace {

std::vector<named_stamp> _listed(session& tokens, const device_id& device) {
    const read_locks lock(tokens, {device});
    const mapping_record record = read_mapping(tokens, device);
    look_up_lengths(tokens, device, record.listed_slots());
    return record.listed_stamps(device);
}

}  // namespace

pictured_stamp append_stamp(session& tokens, const append_request& request) {
    const offer offered = make_offer(request.name, request.data);
    // What no device would change is told before one is waited for.
    require_storable(tokens, offered, {}, request.waived);
    warn_of_doubts(tokens.served(), offered);

    const device_id id = tokens.find_device(request.device);
    const auto require_room = [&](const std::vector<named_stamp>& held) {
        require_storable(tokens, offered, held, request.waived);
        if (held.size() < static_cast<std::size_t>(stamp_slots)) return;
        throw failure(exit_code::device_full, describe(id) + " holds five stamps already");
    };
    // What the names speak against is told before a password is asked.
    require_room(_listed(tokens, id));
    expect_changes(tokens, id, {{0, request.data.size()}}, request.how);
    const auto look = [&](locked_device& device) {
        require_readable(device.stamps(), id, {});
        require_room(names_of(device.stamps()));
    };
    authorised_change change = authorise(tokens, id, look, request.how);
    return {change.append(request.name, request.data), offered.seen};
}

}  // namespace vemra::tool
