/** Reading the stamps of devices, past those that cannot be read. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "keep/session.h"

namespace vemra::tool {

/** What devices hold, as far as it can be told. */
struct held_stamps {
    /** All that are listed, by device and slot. Those that cannot be read have a fault. */
    std::vector<stamp> stamps;
    /** What else is wrong with the devices or their lists. */
    std::vector<std::string> errors;
    /** Devices whose lists cannot be read, which errors tell, too: what they hold is not known. */
    std::vector<device_id> unknown;
};

/**
 * The stamps of devices that the caller has locked. The public interface lists a device's stamps up
 * to the first that cannot be read; the others are read through the device layer. The label is
 * shown meanwhile.
 */
held_stamps read_held(session& tokens, const std::vector<device_id>& devices,
                      const std::string& label);

/** The stamps of the device that is meant, or of all, locked while they are read. */
held_stamps list_stamps(session& tokens, const device_choice& choice = {});

/** One stamp, read alone through the device layer; what cannot be read has a fault. */
stamp read_stamp(session& tokens, const named_stamp& wanted);

/**
 * The stamps of one device that the caller has locked, for what must know all of them: a list that
 * cannot be read or is damaged is (failed).
 */
std::vector<stamp> whole_list(session& tokens, const device_id& device, const std::string& label);

/**
 * The stamps of a device whose stamps are known, by its list: those in `changed` or not known yet
 * are read, each alone; the others are told as known. Throws as whole_list() does.
 */
std::vector<stamp> changed_list(session& tokens, const device_id& device,
                                const std::vector<stamp>& known, int changed);

/** Throws failure (failed) for a stamp whose bytes cannot be read. */
void require_bytes(const stamp& one);

/**
 * What cannot be read can be deleted and replaced. Nothing else is written to a device before that:
 * throws failure (failed) when one of its stamps cannot be read and is not among those `removed`.
 */
void require_readable(const std::vector<stamp>& held, const device_id& device,
                      const std::vector<stamp>& removed);

}  // namespace vemra::tool
