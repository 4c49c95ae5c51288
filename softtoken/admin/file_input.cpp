#include "admin/file_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "admin/arguments.h"
#include "store/durable_files.h"

namespace vemra::softtoken::admin {

namespace {

struct open_file {
    explicit open_file(const std::string& path, int flags = 0)
        : descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | flags)) {
        if (descriptor < 0) fail_with_errno(path);
    }
    ~open_file() { close(descriptor); }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;

    int descriptor;
};

std::string _read(const open_file& file, const std::string& path, std::int64_t most, int status) {
    std::array<char, 65536> part{};
    std::string bytes;
    for (;;) {
        ssize_t got = read(file.descriptor, part.data(), part.size());
        if (got < 0) fail_with_errno(path);
        if (got == 0) return bytes;
        bytes.append(part.data(), static_cast<std::size_t>(got));
        if (static_cast<std::int64_t>(bytes.size()) > most) {
            throw command_failure(status, path + " has more than the " + std::to_string(most) +
                                              " bytes that are allowed here: name a smaller file");
        }
    }
}

}  // namespace

std::string read_file(const std::string& path, std::int64_t most) {
    return _read(open_file(path), path, most, exit_failed);
}

std::string read_plain_file(const std::string& path, std::int64_t most) {
    // Opening a FIFO waits for nobody.
    const open_file file(path, O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    if (fstat(file.descriptor, &status) != 0) fail_with_errno(path);
    if (!S_ISREG(status.st_mode)) {
        throw command_failure(exit_usage, path + " is no plain file: name one");
    }
    return _read(file, path, most, exit_usage);
}

}  // namespace vemra::softtoken::admin
