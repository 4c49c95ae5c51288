/** Removes stamps from their devices. */
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "keep/named_stamps.h"
#include "keep/session.h"
#include "keep/verification.h"

namespace vemra::tool {

/** What is to be deleted from each device. */
using selection = std::map<device_id, std::vector<selected_stamp>>;

/** The stamps that are named, each once. Throws as select_stamp() does. */
selection select_stamps(session& tokens, const std::vector<std::string>& selectors);

/**
 * Deletes them, and tells of each as soon as that is verified. Throws as append_stamp() does,
 * (no_stamp) when a stamp is not there any more or has another name or length, and (partial) for a
 * failure after the first deletion.
 */
void delete_stamps(session& tokens, const selection& chosen, verification how,
                   const std::function<void(const named_stamp&)>& tell_deleted);

}  // namespace vemra::tool
