/** The stamps of devices as their lists name them: no seal is read for that. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "keep/session.h"

namespace vemra::tool {

struct held_names {
    /** All that are listed, by device and slot. */
    std::vector<named_stamp> stamps;
    /** What is wrong with the devices or their lists. */
    std::vector<std::string> errors;
    /** Devices whose lists cannot be read, which errors tell, too: what they hold is not known. */
    std::vector<device_id> unknown;
};

/** The stamps of the device that is meant, or of all, locked while their lists are read. */
held_names list_names(session& tokens, const device_choice& choice = {});

/**
 * The selected stamp, read alone while the devices are locked; what is wrong with lists is warned
 * of. Throws as select_stamp() does, and failure (failed) when its bytes cannot be read.
 */
stamp read_selected(session& tokens, const std::string& selector);

/** A stamp as it was when it was selected. */
struct selected_stamp : named_stamp {
    /** How many bytes it had, if the device told. */
    std::optional<int> length;
};

/** Those that were selected, each once, among all that there were. */
struct selected_names {
    std::vector<named_stamp> all;
    std::vector<selected_stamp> chosen;
};

/** Selects for a change; what is wrong with lists is warned of. Throws as select_stamp() does. */
selected_names select_for_change(session& tokens, const std::vector<std::string>& selectors);

}  // namespace vemra::tool
