/** Whose a token is. Its files all belong to one user, whoever uses it. */
#pragma once

#include <sys/types.h>

#include <string>

namespace vemra::softtoken {

/* The user's name, or the number where it has none. */
std::string user_name(uid_t user);

/*
 * Throws storage_failed for a token of another user's: in a folder that several share, each user's
 * tokens are that user's alone. Root may use them all.
 */
void require_own_token(const std::string& token_directory);

/*
 * Opens a new file in a token's directory for writing. It is private to the owner of the token's
 * database, so that what root makes does not lock the user out. What lies there already is taken
 * away first. The descriptor is the caller's.
 */
int make_token_file(const std::string& token_directory, const std::string& name);

/* Opens a file in a token's directory for reading and writing, and makes it likewise if need be. */
int open_token_file(const std::string& path);

/*
 * Gives a directory and the files in it to the owner of a token's database. The directory is one
 * that this process has made, by its descriptor: names in a user's folder may change meanwhile.
 */
void give_to_owner_of(const std::string& database, int directory);

}  // namespace vemra::softtoken
