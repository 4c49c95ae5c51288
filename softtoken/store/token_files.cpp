#include "store/token_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

// Positions in the 100-byte header of an SQLite database file.
constexpr std::size_t header_size = 100;
constexpr std::size_t user_version_position = 60;
constexpr std::size_t application_id_position = 68;
constexpr std::string_view header_magic{"SQLite format 3\0", 16};

using header = std::array<unsigned char, header_size>;

std::uint32_t _big_endian(const header& bytes, std::size_t position) {
    return (std::uint32_t{bytes[position]} << 24) | (std::uint32_t{bytes[position + 1]} << 16) |
           (std::uint32_t{bytes[position + 2]} << 8) | std::uint32_t{bytes[position + 3]};
}

header _read_header(const std::string& path) {
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        throw failure(error_code::storage_failed, path + ": " + std::strerror(errno));
    }
    header bytes{};
    ssize_t got = pread(file, bytes.data(), bytes.size(), 0);
    close(file);
    if (got != static_cast<ssize_t>(bytes.size())) {
        throw failure(error_code::damaged, path + ": too short for a token");
    }
    return bytes;
}

bool _is_directory(const std::string& root, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return entry.d_type == DT_DIR;
    struct stat status {};
    return stat((root + "/" + entry.d_name).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string root_directory() {
    if (const char* given = std::getenv("VEMRA_SOFTTOKEN_DIR");
        given != nullptr && *given != '\0') {
        return given;
    }
    // A relative data directory is to be ignored.
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') {
        return std::string(data) + "/vemra-softtoken";
    }
    const char* home = std::getenv("HOME");
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
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return file_identity{status.st_dev, status.st_ino};
}

void require_token_database(const std::string& path) {
    header bytes = _read_header(path);
    if (std::memcmp(bytes.data(), header_magic.data(), header_magic.size()) != 0 ||
        _big_endian(bytes, application_id_position) != application_id) {
        throw failure(error_code::damaged, path + ": not a software token");
    }
    std::uint32_t version = _big_endian(bytes, user_version_position);
    if (version != schema_version) {
        throw failure(error_code::damaged,
                      path + ": token format " + std::to_string(version) + " is not known here");
    }
}

}  // namespace vemra::softtoken
