/** Small steps with files whose failures are reported and whose effects are made durable. */
#pragma once

#include <string>

namespace vemra::softtoken {

/* Throws storage_failed with the path and the text of errno, or out_of_descriptors. */
[[noreturn]] void fail_with_errno(const std::string& path);

/* Makes the names in a directory durable. */
void sync_directory(const std::string& path);

}  // namespace vemra::softtoken
