/** What is wrong with a token, and what to do about it. */
#pragma once

#include <string>
#include <vector>

#include "store/token_database.h"

namespace vemra::softtoken::admin {

/* What is wrong, and what to do about it; both are for people. */
struct finding {
    std::string what;
    std::string advice;
    bool is_of_all = false; /* not of one slot, certificate or password: nothing can be relied on */
};
using findings = std::vector<finding>;

/* Everything in the database; name is the token's, for the advice. */
findings check_database(token_database& database, const std::string& name);

/* The database, the faults, and the owners and modes of the files in a token's directory. */
findings check_token(const std::string& directory, const std::string& name);

}  // namespace vemra::softtoken::admin
