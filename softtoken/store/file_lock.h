/**
 * A lock over all processes and threads: one holds the file, the others wait and get it in the
 * order in which they came.
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace vemra::softtoken {

/* How long a call waits for others that hold the token. */
constexpr std::chrono::seconds busy_wait{10};

/* The moment at which a call that begins to wait now gives up. */
inline std::chrono::steady_clock::time_point end_of_busy_wait() {
    return std::chrono::steady_clock::now() + busy_wait;
}

/*
 * Waits until the deadline, then throws busy. The kernel releases the lock, and the place in the
 * queue, of a process that dies. One that is stopped while it waits is passed after a moment, and
 * queues again when it goes on; one that is stopped while it holds the lock keeps it.
 *
 * The file is made when it is missing and stays. Its first bytes are the lock's own; a user of the
 * lock may keep something behind them.
 */
class file_lock {
public:
    explicit file_lock(const std::string& path,
                       std::chrono::steady_clock::time_point deadline = end_of_busy_wait());
    ~file_lock();
    file_lock(const file_lock&) = delete;
    file_lock& operator=(const file_lock&) = delete;

    /* Open for reading and writing, for what is kept behind the lock's own bytes. */
    int descriptor() const noexcept { return file_; }
    static constexpr off_t own_bytes = 24;

private:
    int file_;
};

}  // namespace vemra::softtoken
