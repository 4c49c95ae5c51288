#pragma once

#include <cstddef>
#include <string>

namespace qo::base::codec::hex {

/**
 * Writes each of the `len` bytes at `data` as two hexadecimal digits, in order; with upper-case
 * letters when `upper` is true. A null `data` gives the empty text, whatever `len` says.
 */
std::string encode(const void* data, const std::size_t& len, bool upper);

/**
 * Reads pairs of digits into bytes. Nothing is rejected: letters beyond F go on counting up to Z
 * (35), any other character is 0, and a pair is taken modulo 256. For an odd `len` the last pair
 * takes in the character behind the text, so `text` must be NUL-terminated then.
 */
std::basic_string<unsigned char> decode(const char* text, const std::size_t& len);
std::basic_string<unsigned char> decode(const std::string& text);

}  // namespace qo::base::codec::hex
