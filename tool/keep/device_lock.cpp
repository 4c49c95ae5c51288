#include "keep/device_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "basics/digest.h"
#include "basics/failure.h"
#include "keep/describe.h"

namespace vemra::tool {

namespace {

using std::chrono::steady_clock;

// One place for all users: a device can be used by several of them. The files are never removed,
// because a run that waits for a removed file would not meet one that makes it anew.
constexpr std::array<const char*, 2> lock_directories{"/run/lock", "/tmp"};

// Opened without creating it first: in a sticky directory another user's file may be opened, but
// not with O_CREAT.
descriptor _open_in(const char* directory, const std::string& name) {
    const std::string path = std::string(directory) + "/" + name;
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW;
    descriptor file(open(path.c_str(), flags));
    if (!file.is_open() && errno == ENOENT) {
        file = descriptor(open(path.c_str(), flags | O_CREAT, 0644));
        // Whatever the umask: other users must be able to open it. It may be theirs by now.
        if (file.is_open()) static_cast<void>(fchmod(file.get(), 0644));
    }
    if (!file.is_open() && errno == EACCES) file = descriptor(open(path.c_str(), flags));
    return file;
}

descriptor _open_lock_file(const device_id& device) {
    const std::string place = device.serial + '\0' + std::to_string(device.type);
    const std::string name = "vemra-stamp-" + sha256(place).substr(0, 16) + ".lock";
    for (const char* directory : lock_directories) {
        descriptor file = _open_in(directory, name);
        if (file.is_open()) return file;
    }
    throw failure(exit_code::failed,
                  "the lock file " + name + " cannot be opened: " + std::strerror(errno));
}

}  // namespace

device_lock::device_lock(const device_id& device, kind wanted, double timeout)
    : file_(_open_lock_file(device)) {
    const int operation = (wanted == kind::shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    const auto end = steady_clock::now() + std::chrono::duration<double>(timeout);
    while (flock(file_.get(), operation) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            throw failure(exit_code::failed,
                          std::string("the device cannot be locked: ") + std::strerror(errno));
        }
        if (steady_clock::now() >= end) {
            throw failure(exit_code::lock_timeout, "another run of vemra-stamp is working on " +
                                                       describe(device) +
                                                       "; --timeout waits longer");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace vemra::tool
