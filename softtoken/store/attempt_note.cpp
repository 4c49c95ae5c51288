#include "store/attempt_note.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <set>

#include "store/durable_files.h"
#include "store/failure.h"
#include "store/file_lock.h"

namespace vemra::softtoken {

namespace {

constexpr char noted = 1;
constexpr char none = 0;

// The attempts that threads of this process are making, by the file of their note.
struct running_attempts {
    std::mutex mutex;
    std::set<int> files;
    bool are_over = false;
};

// Never destroyed: threads go on while the process exits.
running_attempts& _running() {
    static auto& running = *new running_attempts;
    return running;
}

bool _write(int file, char note) noexcept {
    return pwrite(file, &note, 1, file_lock::own_bytes) == 1;
}

// Written under the mutex, so that the process's end finds each note that stands.
void _begin(int file) {
    running_attempts& running = _running();
    std::lock_guard<std::mutex> lock(running.mutex);
    if (running.are_over) throw failure(error_code::busy, "the process is ending");
    running.files.insert(file);
    if (_write(file, noted)) return;
    running.files.erase(file);
    fail_with_errno("the note of an attempt");
}

void _forget(int file) noexcept {
    std::lock_guard<std::mutex> lock(_running().mutex);
    _running().files.erase(file);
}

// The library's own end, which comes after that of all who use it. Threads that still run are ended
// in the midst of what they do, and begin no more attempts until then.
__attribute__((destructor)) void _hand_back_at_the_end() {
    std::lock_guard<std::mutex> lock(_running().mutex);
    _running().are_over = true;
    for (int file : _running().files)
        _write(file, none);
}

}  // namespace

std::string attempt_file(const std::string& token_directory) {
    return token_directory + "/password.lock";
}

bool is_attempt_noted(const std::string& token_directory) {
    int file =
        open(attempt_file(token_directory).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) return false;
    bool found = is_attempt_noted(file);
    close(file);
    return found;
}

bool is_attempt_noted(int file) {
    char note = none;
    return pread(file, &note, 1, file_lock::own_bytes) == 1 && note != none;
}

void prepare_note(int file, const std::string& token_directory) {
    struct stat status {};
    if (fstat(file, &status) == 0 && status.st_size > file_lock::own_bytes) return;
    clear_attempt(file);
    sync_directory(token_directory);
}

void clear_attempt(int file) {
    if (!_write(file, none) || fdatasync(file) != 0) fail_with_errno("the note of an attempt");
}

noted_attempt::noted_attempt(int file) : file_(file) {
    _begin(file_);
    if (fdatasync(file_) == 0) return;
    int reason = errno;
    _write(file_, none);
    _forget(file_);
    errno = reason;
    fail_with_errno("the note of an attempt");
}

noted_attempt::~noted_attempt() {
    if (is_kept_) return;
    if (_write(file_, none)) fdatasync(file_);
    _forget(file_);
}

void noted_attempt::keep() {
    is_kept_ = true;
    _forget(file_);
}

}  // namespace vemra::softtoken
