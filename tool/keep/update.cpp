#include "keep/update.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "basics/text.h"
#include "keep/authorised_change.h"
#include "keep/describe.h"
#include "keep/forecast.h"
#include "keep/listing.h"
#include "keep/named_stamps.h"

namespace vemra::tool {

namespace {

// A stamp before and after.
struct replacement {
    stamp old;
    stamp wanted;
};

// The stamp as it is by now: another run may have changed it since it was selected.
const stamp& _as_it_is(const std::vector<stamp>& held, const named_stamp& selected) {
    for (const stamp& one : held) {
        if (is_same_place(one, selected) && one.name == selected.name) return one;
    }
    throw failure(exit_code::no_stamp, quoted(selected.name) + " is not there any more");
}

void _require_storable_among(session& tokens, const update_request& request, offer offered,
                             const std::vector<named_stamp>& held, const named_stamp& changed) {
    // A name that stays is not used anew, even when another stamp has it, too.
    if (offered.name == changed.name) offered.name.reset();
    std::vector<named_stamp> others;
    std::copy_if(held.begin(), held.end(), std::back_inserter(others), [&](const named_stamp& one) {
        return one.device == changed.device && !is_same_place(one, changed);
    });
    require_storable(tokens, offered, others, request.waived);
}

failure _without_bytes() {
    return {exit_code::usage, "the stamp has no bytes: give a FILE"};
}

// What speaks against it is told before a password is asked, as far as the lists tell it.
selected_stamp _select(session& tokens, const update_request& request, const offer& offered) {
    const selected_names selected = select_for_change(tokens, {request.selector});
    const selected_stamp& one = selected.chosen.front();
    _require_storable_among(tokens, request, offered, selected.all, one);
    if (!request.data && one.length == 0) throw _without_bytes();
    return one;
}

replacement _plan(session& tokens, const update_request& request, const offer& offered,
                  const std::vector<stamp>& held, const named_stamp& selected) {
    const stamp& old = _as_it_is(held, selected);
    if (old.is_readable()) require_readable(held, old.device, {});
    _require_storable_among(tokens, request, offered, names_of(held), old);
    replacement planned{old, old};
    if (request.name) planned.wanted.name = *request.name;
    if (request.data) planned.wanted.data = *request.data;
    planned.wanted.fault.clear();
    if (!planned.wanted.data.empty()) return planned;
    if (old.is_readable()) throw _without_bytes();
    throw failure(exit_code::usage, describe_unreadable(old) + "; give a FILE");
}

}  // namespace

pictured_stamp update_stamp(session& tokens, const update_request& request) {
    const offer offered = make_offer(request.name, request.data);
    require_storable(tokens, offered, {}, request.waived);
    warn_of_doubts(tokens.served(), offered);

    const selected_stamp selected = _select(tokens, request, offered);
    const auto old_length = static_cast<std::size_t>(selected.length.value_or(0));
    expect_changes(tokens, selected.device,
                   {{old_length, request.data ? request.data->size() : old_length}}, request.how);
    replacement planned;
    const auto look = [&](locked_device& device) {
        planned = _plan(tokens, request, offered, device.stamps(), selected);
    };
    authorised_change change = authorise(tokens, selected.device, look, request.how);
    const pictured_stamp old = look_at(planned.old);
    change.update(old, planned.wanted.name, planned.wanted.data);
    return {planned.wanted, request.data ? offered.seen : old.seen};
}

}  // namespace vemra::tool
