#include "files/file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "basics/failure.h"
#include "command_line/descriptor.h"
#include "command_line/interruption.h"

namespace vemra::tool {

namespace {

[[noreturn]] void _throw_unwritable(const std::string& path, int error) {
    throw failure(exit_code::failed, path + " cannot be written: " + std::strerror(error));
}

// File systems that cannot rename without replacing can make a second link; the first is removed
// with the temporary file.
bool _put_in_place(const std::string& temporary, const std::string& path, existing what) {
    if (what == existing::replace) return rename(temporary.c_str(), path.c_str()) == 0;
    const int renamed =
        renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE);
    return renamed == 0 || (errno == EINVAL && link(temporary.c_str(), path.c_str()) == 0);
}

mode_t _usual_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

std::string _read(int number, const std::string& path, std::size_t most) {
    try {
        std::string bytes = read_all(number, most);
        if (bytes.size() <= most) return bytes;
    } catch (const std::system_error& error) {
        throw failure(exit_code::usage, path + " cannot be read: " + error.code().message());
    }
    throw failure(exit_code::usage, path + " is longer than " + std::to_string(most) + " bytes");
}

// What a rename would put a file in the place of must be a file itself, not a device or a link.
void _require_replaceable(const std::string& path) {
    std::error_code ignored;
    const std::filesystem::file_status there = std::filesystem::symlink_status(path, ignored);
    if (!std::filesystem::exists(there) || std::filesystem::is_regular_file(there)) return;
    throw failure(exit_code::usage, path + " is no plain file and is not replaced");
}

void _make_directory(const std::filesystem::path& path, mode_t mode) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) return;
    if (path.has_parent_path() && path.parent_path() != path) {
        _make_directory(path.parent_path(), mode);
    }
    if (mkdir(path.c_str(), mode) == 0) return sync_name(path);
    const int error = errno;
    if (error != EEXIST || !std::filesystem::is_directory(path, ignored)) {
        const bool is_taken = error == EEXIST || error == ENOTDIR;
        throw failure(
            is_taken ? exit_code::usage : exit_code::failed,
            "the directory " + path.string() + " cannot be made: " + std::strerror(error));
    }
}

}  // namespace

std::string read_file(const std::string& path, std::size_t most) {
    const descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file.is_open()) {
        throw failure(exit_code::usage, path + " cannot be read: " + std::strerror(errno));
    }
    return _read(file.get(), path, most);
}

std::string read_plain_file(const std::string& path, std::size_t most) {
    // A FIFO would wait for a writer.
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    const descriptor file(open(path.c_str(), flags));
    struct stat status {};
    if ((!file.is_open() && errno != ELOOP) ||
        (file.is_open() && fstat(file.get(), &status) != 0)) {
        throw failure(exit_code::usage, path + " cannot be read: " + std::strerror(errno));
    }
    if (!file.is_open() || !S_ISREG(status.st_mode)) {
        throw failure(exit_code::usage, path + " is no plain file and is not read");
    }
    return _read(file.get(), path, most);
}

std::string read_stamp_file(const std::string& path) {
    const bool is_input = path == "-";
    const std::string name = is_input ? "standard input" : path;
    std::string bytes =
        is_input ? _read(STDIN_FILENO, name, most_stamp_bytes) : read_file(path, most_stamp_bytes);
    if (bytes.empty()) throw failure(exit_code::usage, name + " is empty");
    return bytes;
}

void write_file(const std::string& path, const std::string& bytes, existing what, bool is_private) {
    if (what == existing::replace) _require_replaceable(path);
    std::string temporary = path + ".XXXXXX";
    const descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.is_open()) _throw_unwritable(path, errno);
    const interruption::temporary_file removed_if_left(temporary);

    if (!is_private && fchmod(file.get(), _usual_mode()) != 0) _throw_unwritable(path, errno);
    if (!write_all(file.get(), bytes) || fsync(file.get()) != 0) _throw_unwritable(path, errno);
    if (!_put_in_place(temporary, path, what)) {
        if (errno != EEXIST) _throw_unwritable(path, errno);
        _require_replaceable(path);
        throw failure(exit_code::usage, path + " exists; --force replaces it");
    }
    sync_name(path);
}

void sync_name(const std::string& path) {
    const std::filesystem::path named(path);
    const std::string directory = named.has_parent_path() ? named.parent_path().string() : ".";
    const descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.is_open()) fsync(opened.get());
}

void make_directory(const std::string& path) {
    _make_directory(path, 0777);
}

void make_private_directory(const std::string& path) {
    _make_directory(path, 0700);
}

}  // namespace vemra::tool
