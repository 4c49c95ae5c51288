#include "admin/file_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "store/durable_files.h"

namespace vemra::softtoken::admin {

namespace {

bool _write_all(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool _is_regular(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

// Half a slot must not be taken for a whole one. What is reached by a link keeps its name.
void _undo(int file, const std::string& path) {
    struct stat status {};
    if (ftruncate(file, 0) != 0) return;
    if (lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) unlink(path.c_str());
}

}  // namespace

void write_private_file(const std::string& path, std::string_view bytes) {
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY, S_IRUSR | S_IWUSR);
    if (file < 0) fail_with_errno(path);
    bool is_regular = _is_regular(file);
    bool is_private =
        !is_regular || (fchmod(file, S_IRUSR | S_IWUSR) == 0 && ftruncate(file, 0) == 0);
    bool done = is_private && _write_all(file, bytes) && (!is_regular || fsync(file) == 0);
    int reason = errno;
    // A file that could not be made private is somebody else's.
    if (!done && is_regular && is_private) _undo(file, path);
    close(file);
    if (done && is_regular) sync_directory(std::filesystem::absolute(path).parent_path());
    if (done) return;
    errno = reason;
    fail_with_errno(path);
}

}  // namespace vemra::softtoken::admin
