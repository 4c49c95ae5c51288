#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "model/model_library.h"
#include "sweep/tokens.h"

/* Two writers at one token: before a device call of the one, the other does its whole operation. */

using slot_bytes = std::map<int, std::string>;
using named_bytes = std::vector<std::pair<std::string, std::string>>;

/** One writing operation, on the library and on the model; given the stamps of a list. */
struct writer {
    std::function<int(const token&, const std::vector<seen_stamp>&)> live;
    std::function<int(model_library&, const token&, const std::vector<seen_stamp>&)> model;
};

writer appending(const new_stamp& stamp);
/** The stamp at an index of the list. */
writer updating(std::size_t index, const new_stamp& stamp);
writer deleting(std::size_t index);

/** The token afterwards, and what both writers and a later reader were told. */
struct meeting {
    slot_bytes slots;
    int status = 0;
    int visitor_status = 0;
    named_bytes listed;
    /** The device call before which they met; empty when the first writer makes fewer. */
    std::string call;
};

/** The model's meeting before the nth call on a token with these slots. */
meeting model_meeting(const token& device, const slot_bytes& before, const writer& first,
                      const writer& visitor, int nth);

/** The slots after one writer has worked, then the other. */
slot_bytes slots_in_turn(const token& device, const slot_bytes& before,
                         const std::vector<writer>& writers);

/** The same meeting on the software token, the visitor in a process of its own. */
meeting live_meeting(const token& device, const writer& first, const writer& visitor, int nth);
