#include "store/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "store/durable_files.h"
#include "store/failure.h"
#include "store/sqlite_connection.h"

namespace vemra::softtoken {

namespace {

using clock = std::chrono::steady_clock;

bool _lock_before(int file, clock::time_point deadline) {
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return false;
        if (clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace

file_lock::file_lock(const std::string& path)
    : file_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (file_ < 0) fail_with_errno(path);
    if (!_lock_before(file_, clock::now() + std::chrono::seconds(busy_wait_seconds))) {
        close(file_);
        throw failure(error_code::busy, path + ": held by another process");
    }
}

file_lock::~file_lock() {
    close(file_);
}

}  // namespace vemra::softtoken
