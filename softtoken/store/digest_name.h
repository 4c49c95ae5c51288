/** Which digests a token can make. */
#pragma once

#include <string>

namespace vemra::softtoken {

/* Whether OpenSSL has a digest of that name with 20 to 64 bytes. */
bool is_digest(const std::string& name);

}  // namespace vemra::softtoken
