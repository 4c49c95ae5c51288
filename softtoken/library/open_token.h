/** A token's database while it is open in this process, with its tables. */
#pragma once

#include <unistd.h>

#include <string>

#include "library/error_state.h"
#include "store/fault_file.h"
#include "store/held_files.h"
#include "store/key_table.h"
#include "store/password_table.h"
#include "store/plug.h"
#include "store/slot_history.h"
#include "store/slot_table.h"
#include "store/token_database.h"
#include "store/token_files.h"
#include "store/token_owner.h"

namespace vemra::softtoken {

/* Used by one call at a time, in the process that opened it. */
struct open_token {
    /*
     * Throws damaged for what is no token, and for faults that are none; storage_failed for another
     * user's, and for one whose descriptors were taken away in this process.
     */
    open_token(const std::string& directory_of_token, const plug& present)
        : directory(own(directory_of_token)),
          plugged(present),
          database(database_path(directory)),
          info(database.info()),
          behaviour(kept_for_ever(info.behaviour)),
          faults(read_faults(directory)) {
        files.find(database_path(directory));
    }

    static const std::string& own(const std::string& directory_of_token) {
        require_own_token(directory_of_token);
        held_files::require_not_given_up(database_path(directory_of_token));
        return directory_of_token;
    }

    /* The limits and faults were set anew while the token stayed plugged in. */
    void read_settings(const plug& present) {
        info = database.info();
        behaviour = kept_for_ever(info.behaviour);
        faults = fault_plan(read_faults(directory));
        plugged = present;
    }

    /* True while the token stays plugged in as it was, in the process that opened it. */
    bool usable(const plug& present) const { return plugged == present && is_own(); }

    /* False in a child of that process, and once the process has closed the database's descriptors.
     */
    bool is_own() const { return process == getpid() && files.are_untouched(); }

    pid_t process = getpid();
    std::string directory;
    plug plugged;
    held_files files;
    token_database database;
    token_info info;
    const personality* behaviour; /* stays when the settings are read anew */
    fault_plan faults;
    slot_table slots{database.connection()};
    password_table passwords{database.connection()};
    key_table keys{database.connection()};
    slot_history history{database.connection()};
};

}  // namespace vemra::softtoken
