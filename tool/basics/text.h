/** Text as the tool's messages show it. */
#pragma once

#include <string>

#include "command_line/text.h"

namespace vemra::tool {

/** Printable text in quotes, as names stand in messages. */
std::string quoted(const std::string& text);

/** Printable text as one word of a shell's command. */
std::string shell_word(const std::string& text);

}  // namespace vemra::tool
