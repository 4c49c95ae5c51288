#include "keep/append.h"

#include <utility>

#include "keep/authorised_change.h"
#include "keep/describe.h"

namespace vemra::tool {

pictured_stamp append_stamp(session& tokens, const append_request& request) {
    const offer offered = make_offer(request.name, request.data);
    // What no device would change is told before one is waited for.
    require_storable(tokens, offered, {}, request.waived);
    warn_of_doubts(tokens.served(), offered);

    locked_device device(tokens, tokens.find_device(request.device));
    require_storable(tokens, offered, device.stamps(), request.waived);
    if (device.stamps().size() >= static_cast<std::size_t>(stamp_slots)) {
        throw failure(exit_code::device_full, describe(device.id()) + " holds five stamps already");
    }
    authorised_change change = authorise(std::move(device));
    return {change.append(request.name, request.data), offered.seen};
}

}  // namespace vemra::tool
