/** Text from tokens and directories as it may stand on a terminal. */
#pragma once

#include <string>

namespace vemra::softtoken {

/* Question marks in the place of control characters, in ASCII or UTF-8; everything else as it is.
 */
std::string harmless(std::string text);

}  // namespace vemra::softtoken
