#include "store/token_owner.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "store/durable_files.h"
#include "store/failure.h"
#include "store/open_file.h"
#include "store/token_files.h"

namespace vemra::softtoken {

namespace {

// No link is followed: whose folder it is can put one anywhere.
constexpr int open_flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

// Only root can give files away; others make files of their own.
void _give(int file, const struct stat& owner, const std::string& path) {
    struct stat status {};
    if (geteuid() != 0 || fstat(file, &status) != 0) return;
    if (status.st_uid == owner.st_uid && status.st_gid == owner.st_gid) return;
    if (fchown(file, owner.st_uid, owner.st_gid) != 0) fail_with_errno(path);
}

int _make(const std::string& token_directory, const std::string& name, int access) {
    std::string path = token_directory + "/" + name;
    open_file file(open(path.c_str(), access | O_CREAT | O_EXCL | open_flags, 0600));
    if (file.get() < 0) return -1;
    struct stat owner {};
    if (lstat(database_path(token_directory).c_str(), &owner) == 0) _give(file.get(), owner, path);
    return file.release();
}

}  // namespace

std::string user_name(uid_t user) {
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> room{};
    if (getpwuid_r(user, &entry, room.data(), room.size(), &found) == 0 && found != nullptr) {
        return found->pw_name;
    }
    return std::to_string(user);
}

void require_own_token(const std::string& token_directory) {
    uid_t self = geteuid();
    if (self == 0) return;
    for (const std::string& path : {token_directory, database_path(token_directory)}) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0 || status.st_uid == self) continue;
        throw failure(error_code::storage_failed, path + ": belongs to user " +
                                                      user_name(status.st_uid) +
                                                      ", and only that user's programs take it");
    }
}

int make_token_file(const std::string& token_directory, const std::string& name) {
    std::string path = token_directory + "/" + name;
    unlink(path.c_str());
    int file = _make(token_directory, name, O_WRONLY);
    if (file < 0) fail_with_errno(path);
    return file;
}

int open_token_file(const std::string& path) {
    std::filesystem::path directory = std::filesystem::absolute(path).parent_path();
    std::string name = std::filesystem::path(path).filename();
    // Another process may make it, or take it away, between two looks.
    for (int attempt = 0;; ++attempt) {
        int file = open(path.c_str(), O_RDWR | open_flags);
        if (file < 0 && errno == ENOENT) file = _make(directory, name, O_RDWR);
        if (file >= 0) return file;
        if (errno != EEXIST || attempt > 100) fail_with_errno(path);
    }
}

void give_to_owner_of(const std::string& database, int directory) {
    struct stat owner {};
    if (geteuid() != 0 || lstat(database.c_str(), &owner) != 0) return;
    open_file listed(openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(listed.get()), closedir);
    if (entries == nullptr) fail_with_errno(database);
    listed.release();
    while (const dirent* entry = readdir(entries.get())) {
        if (entry->d_name == std::string(".") || entry->d_name == std::string("..")) continue;
        if (fchownat(directory, entry->d_name, owner.st_uid, owner.st_gid, AT_SYMLINK_NOFOLLOW) !=
            0) {
            fail_with_errno(entry->d_name);
        }
    }
    _give(directory, owner, database);
}

}  // namespace vemra::softtoken
