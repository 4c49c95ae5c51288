/** Text from tokens and directories as it may stand on a terminal. */
#pragma once

#include <string>

namespace vemra::softtoken {

/* Question marks in the place of control characters, in ASCII or UTF-8; everything else as it is.
 */
std::string harmless(std::string text);

/*
 * The library's one way to speak: a line on standard error with both texts, the second one made
 * harmless. Nothing when there is no memory.
 */
void tell(const char* about, const char* text) noexcept;

}  // namespace vemra::softtoken
