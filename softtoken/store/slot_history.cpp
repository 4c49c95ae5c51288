#include "store/slot_history.h"

namespace vemra::softtoken {

std::int64_t slot_history::writes(int slot) {
    sqlite_query query(writes_);
    return query.bind(1, slot).step() ? query.integer(0) : 0;
}

void slot_history::count_write(int slot) {
    sqlite_query(count_write_).bind(1, slot).run();
}

unreturned_room slot_history::unreturned(std::int64_t plugged_at) {
    sqlite_query query(unreturned_);
    query.bind(1, plugged_at).step();
    return {query.integer(0), query.integer(1)};
}

void slot_history::keep_room(std::int64_t plugged_at, std::int64_t bytes) {
    sqlite_query(forget_).bind(1, plugged_at).run();
    sqlite_query(keep_).bind(1, plugged_at).bind(2, bytes).run();
}

}  // namespace vemra::softtoken
