#include "store/file_lock.h"

#include <unistd.h>

#include "store/failure.h"
#include "store/lock_queue.h"
#include "store/token_owner.h"

namespace vemra::softtoken {

file_lock::file_lock(const std::string& path, std::chrono::steady_clock::time_point deadline)
    : file_(open_token_file(path)) {
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
