/** Keeps all stamps of a device in files. */
#pragma once

#include <string>

#include "files/archive.h"
#include "keep/session.h"

namespace vemra::tool {

struct backup {
    archive kept;
    /** False when stamps could not be read or have no bytes; the person was warned of each. */
    bool is_whole = true;
};

/**
 * Reads the device under its lock, shared with other readers, and writes the directory, which must
 * be new or empty. Throws failure (usage) when it is not, (failed) when it cannot be written.
 */
backup write_backup(session& tokens, const device_id& device, const std::string& directory);

}  // namespace vemra::tool
