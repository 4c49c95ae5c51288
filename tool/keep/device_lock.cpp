#include "keep/device_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

#include "basics/digest.h"
#include "basics/failure.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

using std::chrono::steady_clock;

// Places for all users: a device can be used by several of them. The files are never removed,
// because a run that waits for a removed file would not meet one that makes it anew. Always in this
// order.
constexpr std::array<const char*, 2> lock_directories{"/run/lock", "/tmp"};

constexpr auto pause = std::chrono::milliseconds(20);
constexpr mode_t readable_by_all = 0644;
// Pauses until a file that cannot be opened is taken for one that nobody is just making.
constexpr int most_attempts = 10;

// A FIFO or a device would hang or do something; a second name could be anybody's file.
bool _is_lock_file(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}

// Whatever the umask, and whatever ended the run that made it: other users must be able to open it.
void _open_to_all(int file) {
    struct stat status {};
    if (fstat(file, &status) != 0 || status.st_uid != geteuid()) return;
    if ((status.st_mode & 07777) != readable_by_all) {
        static_cast<void>(fchmod(file, readable_by_all));
    }
}

[[noreturn]] void _throw_unusable(const std::string& path, const std::string& reason) {
    throw failure(exit_code::failed, "the lock file " + path + " cannot be used: " + reason);
}

// Opened without creating it first: in a sticky directory another user's file may be opened, but
// not with O_CREAT. It is closed where the directory is not there or takes no files.
descriptor _open_once(const std::string& path) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    descriptor file(open(path.c_str(), flags));
    if (file.is_open() || errno != ENOENT) return file;
    return descriptor(open(path.c_str(), flags | O_CREAT | O_EXCL, readable_by_all));
}

bool _is_there(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

// A file that is there and cannot be opened keeps its owner and others from meeting, if it were
// passed over. Another run may just be making it.
descriptor _open_in(const char* directory, const std::string& name) {
    const std::string path = std::string(directory) + "/" + name;
    for (int attempt = 1;; ++attempt) {
        descriptor file = _open_once(path);
        const int reason = errno;
        if (file.is_open()) {
            if (!_is_lock_file(file.get())) _throw_unusable(path, "it is no plain file");
            _open_to_all(file.get());
            return file;
        }
        if (reason != EEXIST && !_is_there(path)) return file;
        if (attempt == most_attempts) _throw_unusable(path, std::strerror(reason));
        std::this_thread::sleep_for(pause);
    }
}

std::vector<descriptor> _open_lock_files(const device_id& device) {
    const std::string place = device.serial + '\0' + std::to_string(device.type);
    const std::string name = "vemra-stamp-" + sha256(place).substr(0, 16) + ".lock";
    std::vector<descriptor> files;
    for (const char* directory : lock_directories) {
        descriptor file = _open_in(directory, name);
        if (file.is_open()) files.push_back(std::move(file));
    }
    if (!files.empty()) return files;
    throw failure(exit_code::failed, "there is no place for the lock file " + name +
                                         ": neither in " + lock_directories[0] + " nor in " +
                                         lock_directories[1]);
}

void _lock(int file, const device_id& device, device_lock::kind wanted, lock_deadline deadline) {
    const int operation = (wanted == device_lock::kind::shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    while (flock(file, operation) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            throw failure(exit_code::failed,
                          describe(device) + " cannot be locked: " + std::strerror(errno));
        }
        if (steady_clock::now() >= deadline) {
            throw failure(exit_code::lock_timeout, "another run of vemra-stamp is working on " +
                                                       describe(device) +
                                                       "; --timeout waits longer");
        }
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace

device_lock::device_lock(const device_id& device, kind wanted, lock_deadline deadline)
    : files_(_open_lock_files(device)) {
    for (const descriptor& file : files_) {
        _lock(file.get(), device, wanted, deadline);
    }
}

}  // namespace vemra::tool
