#include "keep/update.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "basics/text.h"
#include "keep/authorised_change.h"
#include "keep/listing.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

// The stamp as it is under the lock: another run may have changed it since it was selected.
const stamp& _under_lock(locked_device& device, const stamp& selected) {
    for (const stamp& one : device.stamps()) {
        if (one.uuid == selected.uuid && one.name == selected.name) return one;
    }
    throw failure(exit_code::no_stamp, quoted(selected.name) + " is not there any more");
}

std::vector<stamp> _without(const std::vector<stamp>& stamps, const stamp& left_out) {
    std::vector<stamp> others;
    std::copy_if(stamps.begin(), stamps.end(), std::back_inserter(others),
                 [&](const stamp& one) { return one.uuid != left_out.uuid; });
    return others;
}

}  // namespace

pictured_stamp update_stamp(session& tokens, const update_request& request) {
    offer offered = make_offer(request.name, request.data);
    require_storable(tokens, offered, {}, request.waived);
    warn_of_doubts(tokens.served(), offered);

    const std::vector<stamp> stamps = stamps_for_selection(tokens);
    const stamp& selected = select_stamp(stamps, request.selector);
    locked_device device(tokens, selected.device);
    const pictured_stamp old = look_at(_under_lock(device, selected));
    // A name that stays is not used anew, even when another stamp has it, too.
    if (offered.name == old.one.name) offered.name.reset();
    require_storable(tokens, offered, _without(device.stamps(), old.one), request.waived);

    const pictured_stamp wanted{{old.one.uuid, request.name.value_or(old.one.name),
                                 request.data.value_or(old.one.data), old.one.device},
                                request.data ? offered.seen : old.seen};
    if (wanted.one.data.empty()) {
        throw failure(exit_code::usage, "the stamp has no bytes: give a FILE");
    }
    authorised_change change = authorise(std::move(device));
    change.update(old, wanted.one.name, wanted.one.data);
    return wanted;
}

}  // namespace vemra::tool
