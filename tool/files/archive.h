/**
 * Stamps of a device in a directory: one file for each, and manifest.json, which names them.
 * Backups are such directories, and so is what is kept of a stamp while it is being changed.
 */
#pragma once

#include <string>
#include <vector>

#include "device_module/stamp.h"

namespace vemra::tool {

struct archived_stamp {
    std::string name;
    std::string data;
    /** The slot it was in; 0 when it is not known. */
    int slot = 0;
    /** The uuid of that place, raw bytes; empty when it is not known. */
    std::string uuid;
};

struct archive {
    device_id device;
    std::vector<archived_stamp> stamps;
};

/**
 * Writes the files, readable by the user alone, and the manifest last, so that a directory with a
 * manifest is complete. The directory is made; one that is not empty is a failure (usage).
 */
void write_archive(const std::string& directory, const archive& kept);

/** Reads it back; every file must have the length and the SHA-256 that the manifest names. */
archive read_archive(const std::string& directory);

}  // namespace vemra::tool
