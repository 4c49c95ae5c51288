#include "keep/update.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "basics/text.h"
#include "keep/authorised_change.h"
#include "keep/describe.h"
#include "keep/listing.h"
#include "keep/selector.h"

namespace vemra::tool {

namespace {

// A stamp before and after.
struct replacement {
    stamp old;
    stamp wanted;
};

// The stamp as it is by now: another run may have changed it since it was selected.
const stamp& _as_it_is(const std::vector<stamp>& held, const stamp& selected) {
    for (const stamp& one : held) {
        if (is_same_place(one, selected) && one.name == selected.name) return one;
    }
    throw failure(exit_code::no_stamp, quoted(selected.name) + " is not there any more");
}

// Those beside which a stamp will stand.
std::vector<stamp> _others(const std::vector<stamp>& held, const stamp& changed) {
    std::vector<stamp> others;
    std::copy_if(held.begin(), held.end(), std::back_inserter(others), [&](const stamp& one) {
        return one.device == changed.device && !is_same_place(one, changed);
    });
    return others;
}

replacement _plan(session& tokens, const update_request& request, offer offered,
                  const std::vector<stamp>& held, const stamp& selected) {
    const stamp& old = _as_it_is(held, selected);
    if (old.is_readable()) require_readable(held, old.device, {});
    // A name that stays is not used anew, even when another stamp has it, too.
    if (offered.name == old.name) offered.name.reset();
    require_storable(tokens, offered, _others(held, old), request.waived);
    replacement planned{old, old};
    if (request.name) planned.wanted.name = *request.name;
    if (request.data) planned.wanted.data = *request.data;
    planned.wanted.fault.clear();
    if (planned.wanted.data.empty()) {
        throw failure(exit_code::usage, old.is_readable()
                                            ? "the stamp has no bytes: give a FILE"
                                            : describe_unreadable(old) + "; give a FILE");
    }
    return planned;
}

}  // namespace

pictured_stamp update_stamp(session& tokens, const update_request& request) {
    const offer offered = make_offer(request.name, request.data);
    require_storable(tokens, offered, {}, request.waived);
    warn_of_doubts(tokens.served(), offered);

    const std::vector<stamp> stamps = stamps_for_selection(tokens);
    const stamp& selected = select_stamp(stamps, request.selector);
    // What speaks against it is told before a password is asked.
    replacement planned = _plan(tokens, request, offered, stamps, selected);
    authorised_change change = authorise(tokens, selected.device, [&](locked_device& device) {
        planned = _plan(tokens, request, offered, device.stamps(), selected);
        return 1;
    });
    const pictured_stamp old = look_at(planned.old);
    change.update(old, planned.wanted.name, planned.wanted.data);
    return {planned.wanted, request.data ? offered.seen : old.seen};
}

}  // namespace vemra::tool
