/** An SQLite connection that turns every failure into an error code of the software token. */
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace vemra::softtoken {

/* One connection. Not for use by two threads at once; its owner keeps them apart. */
class sqlite_connection {
public:
    /*
     * flags and vfs are those of sqlite3_open_v2. An immutable file is one that nobody changes;
     * SQLite then looks for no log.
     */
    sqlite_connection(const std::string& path, int flags, const char* vfs = nullptr,
                      bool immutable = false);
    ~sqlite_connection();
    sqlite_connection(const sqlite_connection&) = delete;
    sqlite_connection& operator=(const sqlite_connection&) = delete;

    /* How long a statement waits for another process that holds the database. */
    void set_wait(std::chrono::milliseconds wait) noexcept;

    /* Runs SQL text that returns nothing of interest. */
    void execute(const std::string& sql);

    /*
     * The first bytes of the file as they lie there, without a lock; false when it has fewer.
     * SQLite reads them, since a process that closes a file of its own over a database would drop
     * the locks of all its connections to it.
     */
    bool read_start(void* bytes, std::size_t size) const;

    /* For calls of SQLite's own; the connection stays its owner. */
    sqlite3* raw() const noexcept { return database_; }
    const std::string& path() const noexcept { return path_; }

    /* Throws the failure that belongs to an SQLite result code; std::bad_alloc when out of memory.
     */
    [[noreturn]] void fail(int result) const;

private:
    std::string path_;
    sqlite3* database_ = nullptr;
};

}  // namespace vemra::softtoken
