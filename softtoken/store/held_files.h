/** The descriptors under which SQLite holds a database, and whether they are still its own. */
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

namespace vemra::softtoken {

/*
 * A program that closes all its descriptors closes these too, and the files that it opens next get
 * their numbers: SQLite would write the token's bytes into them. Made before a database is opened;
 * asked before each use of it. Without /proc only descriptors below 1024 are known.
 */
class held_files {
public:
    held_files();

    /* The database is open: finds what it, its log and its index were opened under. */
    void find(const std::string& database_path);

    /* False when one of them was closed, or is another file now. */
    bool are_untouched() const noexcept;

    /*
     * Of a database whose descriptors were taken away. SQLite cannot close it, since that would
     * close another's files, and what it keeps in memory of it serves every later connection.
     * So no program takes such a database again as long as it lives.
     */
    static void give_up(const std::string& database_path);
    /* Throws storage_failed for one that was given up. */
    static void require_not_given_up(const std::string& database_path);

private:
    struct held {
        int descriptor;
        dev_t device;
        ino_t inode;
    };

    std::set<int> others_;
    std::vector<held> files_;
};

}  // namespace vemra::softtoken
