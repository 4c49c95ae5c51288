/** A lock over all processes: one holds the file, the others wait. */
#pragma once

#include <string>

namespace vemra::softtoken {

/*
 * The kernel releases the lock of a process that dies. Waits as long as any call waits for another
 * process, then throws busy.
 */
class file_lock {
public:
    explicit file_lock(const std::string& path);
    ~file_lock();
    file_lock(const file_lock&) = delete;
    file_lock& operator=(const file_lock&) = delete;

private:
    int file_;
};

}  // namespace vemra::softtoken
