/** Names that nobody else has. */
#pragma once

#include <cstddef>
#include <string>

namespace vemra::softtoken {

/* Random bytes as lower-case hexadecimal text. */
std::string random_hex(std::size_t bytes);

}  // namespace vemra::softtoken
