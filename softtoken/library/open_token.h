/** A token's database while it is open in this process, with its tables. */
#pragma once

#include <unistd.h>

#include <optional>
#include <string>

#include "store/key_table.h"
#include "store/password_table.h"
#include "store/slot_table.h"
#include "store/token_database.h"
#include "store/token_files.h"

namespace vemra::softtoken {

struct open_token {
    explicit open_token(const std::string& path)
        : file(identify(path)), database(path), info(database.info()) {}

    /* True while the same file lies at the path and this process opened it. */
    bool usable(const std::optional<file_identity>& at_path) const {
        return process == getpid() && at_path.has_value() && file == at_path;
    }

    pid_t process = getpid();
    std::optional<file_identity> file;
    token_database database;
    token_info info;
    slot_table slots{database.connection()};
    password_table passwords{database.connection()};
    key_table keys{database.connection()};
};

}  // namespace vemra::softtoken
