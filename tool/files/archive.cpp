#include "files/archive.h"

#include <ctime>
#include <filesystem>

#include "basics/digest.h"
#include "basics/failure.h"
#include "files/file.h"

namespace vemra::tool {

namespace {

constexpr const char* manifest_name = "manifest.json";
constexpr std::size_t most_manifest_bytes = std::size_t{1024} * 1024;

std::string _now() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

archived_stamp _read_stamp(const std::string& directory, const manifest::entry& entry) {
    const std::string path = directory + "/" + entry.file;
    archived_stamp one;
    one.name = entry.name;
    one.slot = entry.slot;
    one.uuid = entry.uuid;
    one.data = shared_bytes(read_plain_file(path, most_stamp_bytes));
    if (one.data.size() != entry.bytes || sha256(one.data.get()) != entry.sha256) {
        throw failure(exit_code::failed, path + " is not the file that the manifest names");
    }
    return one;
}

}  // namespace

void write_archive(const std::string& directory, const archive& kept) {
    make_private_directory(directory);
    if (!std::filesystem::is_empty(directory)) {
        throw failure(exit_code::usage,
                      directory + " is not empty; a backup takes a directory of its own");
    }
    manifest listed{kept.serial, kept.type, {}, kept.listed};
    for (std::size_t i = 0; i < kept.stamps.size(); ++i) {
        const archived_stamp& one = kept.stamps[i];
        const std::string file = "stamp-" + std::to_string(i + 1) + one.suffix;
        write_file(std::filesystem::path(directory) / file, one.data.get(), existing::keep, true);
        listed.stamps.push_back(
            {one.name, one.slot, one.uuid, one.data.size(), sha256(one.data.get()), file});
    }
    write_file(std::filesystem::path(directory) / manifest_name, print_manifest(listed, _now()),
               existing::keep, true);
}

archive read_archive(const std::string& directory) {
    std::error_code none;
    const std::filesystem::file_status there = std::filesystem::status(directory, none);
    if (std::filesystem::exists(there) && !std::filesystem::is_directory(there)) {
        throw failure(exit_code::usage,
                      directory + " is no directory; name the one that holds " + manifest_name);
    }
    const std::string path = directory + "/" + manifest_name;
    const std::string text = read_plain_file(path, most_manifest_bytes);
    manifest listed;
    try {
        listed = parse_manifest(text);
    } catch (const damaged_manifest& error) {
        throw failure(exit_code::failed, path + " is damaged: " + error.what());
    }
    archive kept{listed.serial, listed.type, {}, listed.listed};
    for (const manifest::entry& entry : listed.stamps) {
        kept.stamps.push_back(_read_stamp(directory, entry));
    }
    return kept;
}

bool has_manifest(const std::string& directory) {
    std::error_code ignored;
    const std::filesystem::path path = std::filesystem::path(directory) / manifest_name;
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

void remove_archive(const std::string& directory, std::error_code& error) {
    const std::filesystem::path path = std::filesystem::path(directory) / manifest_name;
    if (std::filesystem::remove(path, error) || !error)
        std::filesystem::remove_all(directory, error);
}

}  // namespace vemra::tool
