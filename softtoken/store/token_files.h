/**
 * Where tokens lie: one directory per token under one root, with one database file in each.
 *
 * Names that begin with a dot are never tokens; the admin tool prepares and removes under such
 * names, so that a token appears and disappears at once.
 */
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace vemra::softtoken {

/* VEMRA_SOFTTOKEN_DIR, or vemra-softtoken in the user's data directory; empty when there is none.
 */
std::string root_directory();

/* The file that holds the token's database. */
std::string database_path(const std::string& token_directory);

/*
 * The tokens' directory names in ascending byte order; nothing when the root is missing. Throws
 * storage_failed for a root that cannot be read.
 */
std::vector<std::string> token_names(const std::string& root);

/* Tells one state of a file from another. */
struct file_identity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const file_identity& other) const {
        return device == other.device && inode == other.inode;
    }
};

/* Nothing when there is no such file. Throws storage_failed when that cannot be found out. */
std::optional<file_identity> identify(const std::string& path);

}  // namespace vemra::softtoken
