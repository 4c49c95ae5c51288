/** What a token remembers of slots beside what they are: wear, and room that is not back yet. */
#pragma once

#include <cstdint>

#include "store/sqlite_connection.h"
#include "store/sqlite_statement.h"

namespace vemra::softtoken {

/* Slots that were deleted, and their bytes. */
struct unreturned_room {
    std::int64_t slots = 0;
    std::int64_t bytes = 0;
};

/* Only tokens of format 3 have it. The caller holds a transaction around each change. */
class slot_history {
public:
    explicit slot_history(sqlite_connection& connection) : connection_(connection) {}

    /* Writes of a slot, also before it was deleted and made anew. */
    std::int64_t writes(int slot);
    void count_write(int slot);

    /* Slots that were deleted since the token was plugged in at a moment, in nanoseconds. */
    unreturned_room unreturned(std::int64_t plugged_at);
    void keep_room(std::int64_t plugged_at, std::int64_t bytes);

private:
    sqlite_connection& connection_;
    sqlite_statement writes_{connection_, "SELECT writes FROM wear WHERE slot = ?1"};
    sqlite_statement count_write_{connection_,
                                  "INSERT INTO wear VALUES (?1, 1)"
                                  " ON CONFLICT (slot) DO UPDATE SET writes = writes + 1"};
    sqlite_statement unreturned_{connection_,
                                 "SELECT count(*), coalesce(sum(bytes), 0) FROM unreturned"
                                 " WHERE plugged_at = ?1"};
    sqlite_statement forget_{connection_, "DELETE FROM unreturned WHERE plugged_at <> ?1"};
    sqlite_statement keep_{connection_, "INSERT INTO unreturned VALUES (?1, ?2)"};
};

}  // namespace vemra::softtoken
