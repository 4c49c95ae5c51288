#include "store/held_files.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

// A new file gets the lowest number that is free; so many more leave room for other threads' files.
constexpr int room_for_others = 64;
constexpr int looked_at_without_proc = 1024;

using identity = std::pair<dev_t, ino_t>;

struct given_up_databases {
    std::mutex mutex;
    std::set<identity> all;
};

// Never destroyed: threads go on while the process exits.
given_up_databases& _given_up() {
    static auto& databases = *new given_up_databases;
    return databases;
}

identity _identity_of(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

}  // namespace

held_files::held_files() {
    std::unique_ptr<DIR, int (*)(DIR*)> open(opendir("/proc/self/fd"), closedir);
    if (open == nullptr) return;
    while (const dirent* entry = readdir(open.get()))
        if (entry->d_name[0] != '.')
            others_.insert(static_cast<int>(std::strtol(entry->d_name, nullptr, 10)));
    others_.erase(dirfd(open.get()));
}

void held_files::find(const std::string& database_path) {
    std::set<identity> wanted;
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat status {};
        if (stat((database_path + suffix).c_str(), &status) == 0)
            wanted.insert(_identity_of(status));
    }
    int end = others_.empty() ? looked_at_without_proc
                              : static_cast<int>(others_.size()) + room_for_others;
    for (int descriptor = 0; descriptor < end; ++descriptor) {
        struct stat status {};
        if (others_.count(descriptor) != 0 || fstat(descriptor, &status) != 0) continue;
        if (wanted.count(_identity_of(status)) == 0) continue;
        files_.push_back({descriptor, status.st_dev, status.st_ino});
    }
    others_.clear();
}

bool held_files::are_untouched() const noexcept {
    for (const held& file : files_) {
        struct stat status {};
        if (fstat(file.descriptor, &status) != 0 || status.st_dev != file.device ||
            status.st_ino != file.inode) {
            return false;
        }
    }
    return true;
}

void held_files::give_up(const std::string& database_path) {
    struct stat status {};
    if (stat(database_path.c_str(), &status) != 0) return;
    std::lock_guard<std::mutex> lock(_given_up().mutex);
    _given_up().all.insert(_identity_of(status));
}

void held_files::require_not_given_up(const std::string& database_path) {
    struct stat status {};
    if (stat(database_path.c_str(), &status) != 0) return;
    std::lock_guard<std::mutex> lock(_given_up().mutex);
    if (_given_up().all.count(_identity_of(status)) == 0) return;
    throw failure(error_code::storage_failed,
                  database_path +
                      ": this program has closed the descriptors under which it was open, and "
                      "can use it no more");
}

}  // namespace vemra::softtoken
