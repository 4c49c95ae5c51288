#include "keep/recovery.h"

#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "basics/failure.h"
#include "files/file.h"

namespace vemra::tool {

namespace {

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

std::string _make_directory() {
    const std::string parent = _state_directory() + "/vemra-stamp/recovery";
    make_private_directory(parent);
    std::string path = parent + "/stamp-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        throw failure(exit_code::failed, "the old stamp cannot be kept in " + parent + ": " +
                                             std::strerror(errno) + "; nothing was changed");
    }
    sync_name(path);
    return path;
}

}  // namespace

recovery::recovery(const archive& kept) : path_(_make_directory()) {
    write_archive(path_, kept);
}

void recovery::add(const std::string& file, const std::string& bytes) const {
    write_file(path_ + "/" + file, bytes, existing::keep, true);
}

void recovery::discard() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace vemra::tool
