#include "store/plain_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "store/durable_files.h"
#include "store/failure.h"
#include "store/open_file.h"

namespace vemra::softtoken {

namespace {

[[noreturn]] void _refuse(const std::string& path) {
    throw failure(error_code::storage_failed, path + ": not a plain file, so it is not opened");
}

}  // namespace

std::optional<std::string> read_plain_file(const std::string& path, std::size_t most) {
    // Opening a pipe waits for whoever holds its other end, but for O_NONBLOCK.
    open_file file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.get() < 0 && errno == ENOENT) return std::nullopt;
    if (file.get() < 0 && (errno == ELOOP || errno == ENXIO)) _refuse(path);
    if (file.get() < 0) fail_with_errno(path);
    struct stat status {};
    if (fstat(file.get(), &status) != 0) fail_with_errno(path);
    if (!S_ISREG(status.st_mode)) _refuse(path);
    std::string bytes;
    std::array<char, 4096> piece{};
    while (bytes.size() < most) {
        ssize_t count = read(file.get(), piece.data(), std::min(piece.size(), most - bytes.size()));
        if (count < 0) fail_with_errno(path);
        if (count == 0) break;
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

void require_plain_database(const std::string& path) {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        struct stat status {};
        std::string file = path + suffix;
        if (lstat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) _refuse(file);
    }
}

}  // namespace vemra::softtoken
