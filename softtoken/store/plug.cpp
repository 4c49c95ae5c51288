#include "store/plug.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "store/durable_files.h"
#include "store/token_owner.h"

namespace vemra::softtoken {

namespace {

// The file system's own times are too coarse to tell two pluggings in a row apart.
void _stamp_with_this_moment(int file) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::array<timespec, 2> times{now, now};
    futimens(file, times.data());
}

}  // namespace

std::string plug_path(const std::string& token_directory) {
    return token_directory + "/attached";
}

std::optional<plug> find_plug(const std::string& path_of_plug) {
    struct stat status {};
    if (lstat(path_of_plug.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return plug{status.st_dev, status.st_ino, status.st_mtim, status.st_atim};
}

void plug_in(const std::string& token_directory) {
    std::string path = plug_path(token_directory);
    if (find_plug(path)) return;
    std::string name = "attached." + std::to_string(getpid());
    std::string draft = token_directory + "/" + name;
    int file = make_token_file(token_directory, name);
    _stamp_with_this_moment(file);
    close(file);
    if (rename(draft.c_str(), path.c_str()) != 0) fail_with_errno(path);
    sync_directory(token_directory);
}

void pull_out(const std::string& token_directory) {
    std::string path = plug_path(token_directory);
    if (unlink(path.c_str()) != 0 && errno != ENOENT) fail_with_errno(path);
    sync_directory(token_directory);
}

void note_changed_settings(const std::string& token_directory) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::array<timespec, 2> times{now, timespec{0, UTIME_OMIT}};
    // An unplugged token has no such file: its settings are read when it is plugged in.
    utimensat(AT_FDCWD, plug_path(token_directory).c_str(), times.data(), AT_SYMLINK_NOFOLLOW);
}

}  // namespace vemra::softtoken
