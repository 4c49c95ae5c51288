/** Whole files that the user names. */
#pragma once

#include <cstdint>
#include <string>

namespace vemra::softtoken::admin {

/* The file's bytes; throws a message for a file that cannot be read or has more than most bytes. */
std::string read_file(const std::string& path, std::int64_t most);

}  // namespace vemra::softtoken::admin
