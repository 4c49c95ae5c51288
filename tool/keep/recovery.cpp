#include "keep/recovery.h"

#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "basics/failure.h"
#include "files/file.h"

namespace vemra::tool {

namespace {

constexpr const char* unkept = "what is there cannot be kept, and so is not changed: ";

std::string _state_directory() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return state;
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home != '/') {
        const passwd* user = getpwuid(getuid());
        home = user == nullptr ? "/" : user->pw_dir;
    }
    return std::string(home) + "/.local/state";
}

std::string _parent_directory() {
    return _state_directory() + "/vemra-stamp/recovery";
}

std::string _make_directory() {
    const std::string parent = _parent_directory();
    try {
        make_private_directory(parent);
    } catch (const failure& error) {
        throw failure(exit_code::failed, std::string(unkept) + error.what());
    }
    std::string path = parent + "/stamp-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        throw failure(exit_code::failed,
                      unkept + parent + " cannot be written: " + std::strerror(errno));
    }
    sync_name(path);
    return path;
}

descriptor _open(const std::string& directory) {
    return descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Waits for those who look whether it is in use: they hold it for a moment. Closing it, or the end
// of the process, gives the lock back.
descriptor _lock_for_change(const std::string& directory) {
    descriptor opened = _open(directory);
    int done = -1;
    if (opened.is_open()) {
        do {
            done = flock(opened.get(), LOCK_EX);
        } while (done != 0 && errno == EINTR);
    }
    if (done == 0) return opened;
    const std::string reason = std::strerror(errno);
    std::error_code ignored;
    std::filesystem::remove(directory, ignored);
    throw failure(exit_code::failed, unkept + directory + " cannot be locked: " + reason);
}

bool _is_in_use(const std::string& directory) {
    const descriptor opened = _open(directory);
    return !opened.is_open() || flock(opened.get(), LOCK_SH | LOCK_NB) != 0;
}

kept_change _read(const std::string& path) {
    kept_change found{path, std::nullopt, ""};
    if (!has_manifest(path)) {
        found.fault = "it has no manifest: its change had not begun, or was over; discard it";
        return found;
    }
    try {
        found.kept = read_archive(path);
    } catch (const std::exception& error) {
        found.fault = error.what();
    }
    return found;
}

}  // namespace

recovery::recovery(const archive& kept)
    : path_(_make_directory()), in_use_(_lock_for_change(path_)) {
    fill([&] { write_archive(path_, kept); });
}

void recovery::add(const std::string& file, const std::string& bytes) {
    fill([&] { write_file(path_ + "/" + file, bytes, existing::keep, true); });
}

void recovery::discard() {
    std::error_code ignored;
    remove_archive(path_, ignored);
}

void recovery::fill(const std::function<void()>& written) {
    try {
        written();
    } catch (const failure& error) {
        discard();
        throw failure(exit_code::failed, std::string(unkept) + error.what());
    }
}

std::string kept_change::name() const {
    return std::filesystem::path(path).filename();
}

std::vector<kept_change> kept_changes() {
    std::vector<std::filesystem::directory_entry> directories;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(_parent_directory(), none)) {
        if (!_is_in_use(entry.path())) directories.push_back(entry);
    }
    const auto age = [](const std::filesystem::directory_entry& one) {
        std::error_code gone;
        return one.last_write_time(gone);
    };
    std::sort(directories.begin(), directories.end(),
              [&](const auto& one, const auto& other) { return age(one) < age(other); });
    std::vector<kept_change> found;
    for (const auto& entry : directories) {
        found.push_back(_read(entry.path()));
    }
    return found;
}

bool is_kept_change(const std::string& directory) {
    std::error_code none;
    const std::filesystem::path path = std::filesystem::canonical(directory, none);
    return !none && std::filesystem::equivalent(path.parent_path(), _parent_directory(), none);
}

void discard_kept_change(const std::string& path) {
    std::error_code error;
    remove_archive(path, error);
    if (error) {
        throw failure(exit_code::failed, path + " cannot be removed: " + error.message());
    }
}

}  // namespace vemra::tool
