/**
 * Stamps of a device in a directory: one file for each, and manifest.json, which names them.
 * Backups are such directories, and so is what is kept of a stamp while it is being changed.
 */
#pragma once

#include <string>
#include <system_error>
#include <vector>

#include "basics/shared_bytes.h"
#include "files/manifest.h"

namespace vemra::tool {

/** A stamp with the place it had on its device. */
struct archived_stamp {
    std::string name;
    shared_bytes data;
    /** The slot it was in; 0 when it is not known. */
    int slot = 0;
    /** The uuid of that place, raw bytes; empty when it is not known. */
    std::string uuid;
    /** How its file's name ends, as in ".png"; not known of one that was read. */
    std::string suffix = ".bin";
};

struct archive {
    /** The device that they are of. */
    std::string serial;
    int type = 0;
    std::vector<archived_stamp> stamps;
    /** What the device's list named, in archives that keep it. */
    std::vector<listed_stamp> listed{};
};

/**
 * Writes the files, readable by the user alone, and the manifest last, so that a directory with a
 * manifest is complete. The directory is made; one that is not empty is a failure (usage).
 */
void write_archive(const std::string& directory, const archive& kept);

/**
 * Reads it back. The manifest and the files must be plain ones, no links, and every file must have
 * the length and the SHA-256 that the manifest names. Throws failure (usage), or (failed) for what
 * is damaged.
 */
archive read_archive(const std::string& directory);

/** Whether there is a manifest, of whatever kind. */
bool has_manifest(const std::string& directory);

/** Removes the directory, the manifest first, so that what has one stays complete. */
void remove_archive(const std::string& directory, std::error_code& error);

}  // namespace vemra::tool
