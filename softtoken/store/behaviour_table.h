/** How a token behaves, as it is stored: columns of the token's row, and the rest as text. */
#pragma once

#include "personality/personality.h"
#include "store/sqlite_connection.h"

namespace vemra::softtoken {

/*
 * The text is in a table that only format 3 has. Throws damaged for a behaviour that no token can
 * have.
 */
personality stored_behaviour(sqlite_connection& connection);

/*
 * The caller holds a transaction. Password attempts are the password table's. A token gets format 3
 * with the first behaviour that its columns cannot tell; true when that happens here.
 */
bool store_behaviour(sqlite_connection& connection, const personality& behaviour);

}  // namespace vemra::softtoken
