#pragma once

#include <cstddef>

namespace bench {

/** Writes two lower-case digits a byte, as fast as memory allows. */
void fast_hex(const unsigned char* bytes, std::size_t count, char* digits);

}  // namespace bench
