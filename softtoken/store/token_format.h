/** The formats of tokens' databases, by SQLite's user version. */
#pragma once

#include <cstdint>

#include "store/sqlite_connection.h"

namespace vemra::softtoken {

/* "VTok" */
constexpr std::uint32_t application_id = 0x56546f6b;
constexpr std::uint32_t schema_version = 2;
/*
 * The format before sums were stored with slots. It is read as it is; the first change of a token
 * takes it over into the present one.
 */
constexpr std::uint32_t version_without_sums = 1;
/* The format of tokens that behave in a way which the present one cannot tell. */
constexpr std::uint32_t version_with_behaviour = 3;

/* The format that the token has at this moment; another process may take it over. */
std::uint32_t format_version(sqlite_connection& connection);

}  // namespace vemra::softtoken
