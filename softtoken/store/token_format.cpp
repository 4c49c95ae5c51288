#include "store/token_format.h"

#include "store/sqlite_statement.h"

namespace vemra::softtoken {

std::uint32_t format_version(sqlite_connection& connection) {
    sqlite_statement statement(connection, "PRAGMA user_version");
    sqlite_query query(statement);
    return query.step() ? static_cast<std::uint32_t>(query.integer(0)) : 0;
}

}  // namespace vemra::softtoken
