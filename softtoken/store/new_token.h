/** Making a token on disk. */
#pragma once

#include <string>
#include <string_view>

#include "store/password_hash.h"
#include "store/token_info.h"

namespace vemra::softtoken {

/* What a token is made of. */
struct new_token {
    token_info info;           /* the uid is made here */
    std::string_view password; /* borrowed, so that no copy of it stays in memory */
    int password_cost = default_password_cost;
    bool attached = true;
};

/*
 * Makes the directory root/name with a token in it, readable by the user alone; the root too when
 * it is missing. All or nothing, durable when it returns. The name must be free.
 */
void create_token(const std::string& root, const std::string& name, const new_token& token);

/* Makes the directory of all tokens, private to the user, unless it is there. */
void make_root(const std::string& root);

/* Throws storage_failed when something of that name lies in the root. */
void require_free_name(const std::string& root, const std::string& name);

/* Throws bad_argument unless the text can name a token's directory. */
void require_token_name(const std::string& name);

}  // namespace vemra::softtoken
