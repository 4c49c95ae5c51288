/** Checking a password against a token, with its retry counter. */
#pragma once

#include <string>
#include <string_view>

#include "store/password_table.h"

namespace vemra::softtoken {

/*
 * Throws wrong_password or locked. The counter is lowered, durably, before the comparison and reset
 * by the right password; retries is its true value afterwards, whatever the outcome. The caller
 * holds no transaction.
 */
void check_password(token_database& database, password_table& passwords,
                    const std::string& token_directory, std::string_view password, int& retries);

}  // namespace vemra::softtoken
