#include "store/file_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include "store/durable_files.h"
#include "store/failure.h"
#include "store/lock_queue.h"

namespace vemra::softtoken {

file_lock::file_lock(const std::string& path, std::chrono::steady_clock::time_point deadline)
    : file_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (file_ < 0) fail_with_errno(path);
    try {
        lock_queue queue(file_);
        if (queue.take_at_once() || queue.wait(deadline)) return;
        throw failure(error_code::busy, path + ": held by another process");
    } catch (...) {
        close(file_);
        throw;
    }
}

// Closing alone would leave the lock to a child that was made by other means than fork and still
// has the descriptor.
file_lock::~file_lock() {
    lock_queue(file_).release();
    close(file_);
}

}  // namespace vemra::softtoken
