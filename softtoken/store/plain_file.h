/** Plain files in a token's directory, whatever somebody else puts in their place. */
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace vemra::softtoken {

/*
 * The first bytes of a file, at most so many; nothing when it is not there. No link is followed and
 * nobody waited for: throws storage_failed for what is no plain file, or cannot be read.
 */
std::optional<std::string> read_plain_file(const std::string& path, std::size_t most);

/* Throws storage_failed when a database, its log or its index is there and is no plain file. */
void require_plain_database(const std::string& path);

}  // namespace vemra::softtoken
