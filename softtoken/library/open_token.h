/** A token's database while it is open in this process, with its tables. */
#pragma once

#include <unistd.h>

#include <string>

#include "store/key_table.h"
#include "store/password_table.h"
#include "store/plug.h"
#include "store/slot_table.h"
#include "store/token_database.h"
#include "store/token_files.h"

namespace vemra::softtoken {

struct open_token {
    open_token(const std::string& directory, const plug& present)
        : plugged(present), database(database_path(directory)), info(database.info()) {}

    /* True while the token stays plugged in as it was, in the process that opened it. */
    bool usable(const plug& present) const { return plugged == present && process == getpid(); }

    pid_t process = getpid();
    plug plugged;
    token_database database;
    token_info info;
    slot_table slots{database.connection()};
    password_table passwords{database.connection()};
    key_table keys{database.connection()};
};

}  // namespace vemra::softtoken
