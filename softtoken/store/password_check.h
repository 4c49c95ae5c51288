/** Checking a password against a token, with its retry counter. */
#pragma once

#include <string>
#include <string_view>

#include "store/password_table.h"

namespace vemra::softtoken {

/*
 * Throws wrong_password or locked. The attempt is taken, durably, before the comparison; a wrong
 * password counts it down, a right one gives all attempts back. A check that ends in any other way
 * hands the attempt back, but for a process that is killed: its attempt counts down with the next
 * check. retries is the number of attempts that are left afterwards, whatever the outcome. Waits
 * for other changes only where the counter changes. The caller holds no transaction.
 */
void check_password(token_database& database, password_table& passwords,
                    const std::string& token_directory, std::string_view password, int& retries);

/* The counter without the attempt of a check that is running or was killed. */
retry_counter attempts(password_table& passwords, const std::string& token_directory);

/* Gives back all attempts, that of a killed check too. The caller holds no transaction. */
void give_back_attempts(token_database& database, password_table& passwords,
                        const std::string& token_directory);

}  // namespace vemra::softtoken
