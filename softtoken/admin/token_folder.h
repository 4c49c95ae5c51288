/** A token as the admin tool opens it: by its name, attached or not. */
#pragma once

#include <string>

#include "store/key_table.h"
#include "store/password_table.h"
#include "store/slot_table.h"
#include "store/token_database.h"

namespace vemra::softtoken::admin {

/* The directory of a token; throws a message that says how to find the right name. */
std::string directory_of(const std::string& name);

/* An existing token, open. Throws like directory_of, and failure (damaged) for what is no token. */
struct named_token {
    explicit named_token(const std::string& name);

    std::string directory;
    token_database database;
    slot_table slots{database.connection()};
    password_table passwords{database.connection()};
    key_table keys{database.connection()};
};

}  // namespace vemra::softtoken::admin
