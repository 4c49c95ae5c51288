/** What a token is: the facts in the one row of its token table. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "personality/personality.h"

namespace vemra::softtoken {

/* As it is stored, and written on the command line. */
const char* name_of(login_scope scope) noexcept;
/* Nothing for any other text. */
std::optional<login_scope> login_scope_from(const std::string& name);

/* The serial number and the type are what the device interface tells. */
struct token_info {
    std::string uid; /* 32 hexadecimal digits, made at creation and never changed */
    std::string serial_number;
    int type = 0;
    std::string label;
    personality behaviour;
};

}  // namespace vemra::softtoken
