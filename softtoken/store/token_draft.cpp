#include "store/token_draft.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <regex>

#include "store/durable_files.h"
#include "store/random_hex.h"

namespace vemra::softtoken {

namespace {

namespace fs = std::filesystem;

int _open_directory(const std::string& path) {
    return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
}

bool _holds_only_token_files(const fs::path& directory) {
    static const std::regex files(
        "token\\.db(-wal|-shm|-journal)?|attached(\\.\\d+)?|faults(\\.new)?|[a-z]+\\.lock");
    std::error_code error;
    for (fs::directory_iterator each(directory, error), end; !error && each != end;
         each.increment(error)) {
        if (!std::regex_match(each->path().filename().string(), files)) return false;
    }
    return !error;
}

bool _belongs_to_the_user(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           (geteuid() == 0 || status.st_uid == geteuid());
}

bool _is_in_use(const std::string& path) {
    int directory = _open_directory(path);
    if (directory < 0) return true;
    bool is_free = flock(directory, LOCK_EX | LOCK_NB) == 0;
    close(directory);
    return !is_free;
}

}  // namespace

directory_lock::directory_lock(const std::string& path) : directory_(_open_directory(path)) {
    if (directory_ < 0) fail_with_errno(path);
    while (flock(directory_, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        int reason = errno;
        close(directory_);
        errno = reason;
        fail_with_errno(path);
    }
}

directory_lock::~directory_lock() {
    close(directory_);
}

std::string hidden_name(const std::string& name) {
    return "." + name + "." + random_hex(8);
}

std::string hidden_name_of_damaged(const std::string& name) {
    return hidden_name(name + ".damaged");
}

// Nobody looks for what was left while the new directory has no lock yet.
token_draft::token_draft(const std::string& root, const std::string& name)
    : path_(root + "/" + name) {
    directory_lock no_search(fs::canonical(root));
    if (mkdir(path_.c_str(), 0700) != 0) fail_with_errno(path_);
    directory_ = _open_directory(path_);
    if (directory_ < 0 || flock(directory_, LOCK_EX | LOCK_NB) != 0) {
        int reason = errno;
        if (directory_ >= 0) close(directory_);
        rmdir(path_.c_str());
        errno = reason;
        fail_with_errno(path_);
    }
}

token_draft::~token_draft() {
    std::error_code ignored;
    if (!kept_) fs::remove_all(path_, ignored);
    close(directory_);
}

hidden_tokens find_hidden_tokens(const std::string& root) {
    static const std::regex hidden("\\.[A-Za-z0-9_][A-Za-z0-9._-]*\\.[0-9a-f]{16}");
    static const std::regex damaged("\\..*\\.damaged\\.[0-9a-f]{16}");
    hidden_tokens found;
    std::error_code error;
    fs::path folder = fs::canonical(root, error);
    if (error) return found;
    directory_lock no_new_ones(folder);
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::string name = entry.path().filename();
        std::string path = root + "/" + name;
        if (!std::regex_match(name, hidden) || !_belongs_to_the_user(path) ||
            !_holds_only_token_files(path)) {
            continue;
        }
        if (std::regex_match(name, damaged)) {
            found.damaged.push_back(path);
        } else if (!_is_in_use(path)) {
            found.left.push_back(path);
        }
    }
    std::sort(found.left.begin(), found.left.end());
    std::sort(found.damaged.begin(), found.damaged.end());
    return found;
}

}  // namespace vemra::softtoken
