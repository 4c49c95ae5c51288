/** Files that the tool reads and writes for the user. Failures are exit code 2 or 1. */
#pragma once

#include <cstddef>
#include <string>

namespace vemra::tool {

/** What the tool takes and stores of one stamp at most. */
constexpr std::size_t most_stamp_bytes = std::size_t{16} * 1024 * 1024;

/** Reads the stamp's bytes from a file, or from standard input for "-". Not empty, at most 16 MiB.
 */
std::string read_stamp_file(const std::string& path);

/** A whole file; throws failure (usage) when it cannot be read or is longer. */
std::string read_file(const std::string& path, std::size_t most);

/** The same for a file that somebody else names: neither a link nor anything that can wait. */
std::string read_plain_file(const std::string& path, std::size_t most);

/** What becomes of a file that is there already. */
enum class existing { keep, replace };

/**
 * Writes a file whole or not at all: a temporary one beside it, made durable and renamed. Readable
 * by the user alone when `is_private`. Throws failure (usage) when it exists and is to be kept, or
 * is no file that can be replaced: a directory, a device, a link.
 */
void write_file(const std::string& path, const std::string& bytes, existing what,
                bool is_private = false);

/** Makes the name of a file or directory durable; not every file system can, and that is no
 * failure. */
void sync_name(const std::string& path);

/**
 * Makes a directory, with its parents, if there is none yet; their names are durable then. Throws
 * failure (usage) when something else has its name or that of a parent, and (failed).
 */
void make_directory(const std::string& path);
/** The same for one that only the user can enter. */
void make_private_directory(const std::string& path);

}  // namespace vemra::tool
