#include "store/token_files.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "store/durable_files.h"

namespace vemra::softtoken {

namespace {

bool _is_directory(const std::string& root, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return entry.d_type == DT_DIR;
    struct stat status {};
    return stat((root + "/" + entry.d_name).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string root_directory() {
    if (const char* given = secure_getenv("VEMRA_SOFTTOKEN_DIR");
        given != nullptr && *given != '\0') {
        return given;
    }
    // A relative data directory is to be ignored.
    if (const char* data = secure_getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') {
        return std::string(data) + "/vemra-softtoken";
    }
    const char* home = secure_getenv("HOME");
    if (home == nullptr || *home == '\0') return {};
    return std::string(home) + "/.local/share/vemra-softtoken";
}

std::string database_path(const std::string& token_directory) {
    return token_directory + "/token.db";
}

std::vector<std::string> token_names(const std::string& root) {
    std::vector<std::string> names;
    if (root.empty()) return names;
    std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(root.c_str()), closedir);
    if (directory == nullptr && errno != ENOENT) fail_with_errno(root);
    if (directory == nullptr) return names;
    while (const dirent* entry = readdir(directory.get())) {
        if (entry->d_name[0] != '.' && _is_directory(root, *entry))
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<file_identity> identify(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) fail_with_errno(path);
        return std::nullopt;
    }
    return file_identity{status.st_dev, status.st_ino};
}

}  // namespace vemra::softtoken
