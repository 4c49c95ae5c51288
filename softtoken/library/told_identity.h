/** Who a token says it is. */
#pragma once

#include <string>

#include "store/token_info.h"

namespace vemra::softtoken {

int told_type(const token_info& info, const personality& rules);

/* The calls before this one are counted, since a token may tell each other call another case. */
std::string told_serial_number(const token_info& info, const personality& rules,
                               unsigned int calls_before);

}  // namespace vemra::softtoken
