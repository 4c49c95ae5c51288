/** Whole files that the user names. */
#pragma once

#include <cstdint>
#include <string>

namespace vemra::softtoken::admin {

/* The file's bytes; throws a message for a file that cannot be read or has more than most bytes. */
std::string read_file(const std::string& path, std::int64_t most);

/* The same; refuses all but plain files, and more than most bytes, as bad input. */
std::string read_plain_file(const std::string& path, std::int64_t most);

}  // namespace vemra::softtoken::admin
