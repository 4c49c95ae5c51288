#include "files/archive.h"

#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "basics/digest.h"
#include "basics/failure.h"
#include "basics/hex.h"
#include "basics/text.h"
#include "files/file.h"

namespace vemra::tool {

namespace {

using json = nlohmann::ordered_json;

constexpr const char* manifest_name = "manifest.json";
constexpr const char* manifest_format = "vemra-stamp backup";
constexpr int manifest_version = 1;
constexpr std::size_t most_manifest_bytes = std::size_t{1024} * 1024;

std::string _now() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

// JSON holds UTF-8 only; what is not goes beside it in hexadecimal digits.
void _put_text(json& object, const std::string& key, const std::string& text) {
    if (is_utf8(text))
        object[key] = text;
    else
        object[key + "_hex"] = to_hex(text);
}

std::string _get_text(const json& object, const std::string& key) {
    if (object.contains(key)) return object.at(key);
    return from_hex(object.at(key + "_hex").get<std::string>()).value();
}

json _entry(const archived_stamp& one, const std::string& file) {
    json entry = json::object();
    _put_text(entry, "name", one.name);
    entry["slot"] = one.slot;
    entry["uuid"] = to_hex(one.uuid);
    entry["bytes"] = one.data.size();
    entry["sha256"] = sha256(one.data.get());
    entry["file"] = file;
    return entry;
}

// Plain names only: a manifest must not lead out of its directory.
void _require_plain(const std::string& file) {
    if (!file.empty() && file.find('/') == std::string::npos && file != "." && file != "..") return;
    throw failure(exit_code::usage, "the manifest names the file " + printable(file) +
                                        ", which is not in its directory");
}

archived_stamp _read_stamp(const std::string& directory, const json& entry) {
    archived_stamp one;
    one.name = _get_text(entry, "name");
    one.slot = entry.at("slot");
    one.uuid = from_hex(entry.at("uuid").get<std::string>()).value();
    const std::string file = entry.at("file");
    _require_plain(file);
    one.data = shared_bytes(read_file(directory + "/" + file, most_stamp_bytes));
    if (one.data.size() != entry.at("bytes") || sha256(one.data.get()) != entry.at("sha256")) {
        throw failure(exit_code::failed,
                      directory + "/" + file + " is not the file that the manifest names");
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
    json manifest{{"format", manifest_format}, {"version", manifest_version}, {"created", _now()}};
    manifest["device"] = json::object();
    _put_text(manifest["device"], "serial", kept.serial);
    manifest["device"]["type"] = kept.type;
    manifest["stamps"] = json::array();
    for (std::size_t i = 0; i < kept.stamps.size(); ++i) {
        const archived_stamp& one = kept.stamps[i];
        const std::string file = "stamp-" + std::to_string(i + 1) + one.suffix;
        write_file(std::filesystem::path(directory) / file, one.data.get(), existing::keep, true);
        manifest["stamps"].push_back(_entry(one, file));
    }
    write_file(std::filesystem::path(directory) / manifest_name, manifest.dump(4) + "\n",
               existing::keep, true);
}

archive read_archive(const std::string& directory) {
    const std::string path = directory + "/" + manifest_name;
    const std::string text = read_file(path, most_manifest_bytes);
    try {
        const json manifest = json::parse(text);
        if (manifest.at("format") != manifest_format ||
            manifest.at("version") != manifest_version) {
            throw failure(exit_code::failed, path + " is of a format that this tool cannot read");
        }
        archive kept;
        kept.serial = _get_text(manifest.at("device"), "serial");
        kept.type = manifest.at("device").at("type");
        for (const json& entry : manifest.at("stamps")) {
            kept.stamps.push_back(_read_stamp(directory, entry));
        }
        return kept;
    } catch (const json::exception& error) {
        throw failure(exit_code::failed, path + " is damaged: " + error.what());
    } catch (const std::bad_optional_access&) {
        throw failure(exit_code::failed,
                      path + " is damaged: a text that is no hexadecimal digits");
    }
}

}  // namespace vemra::tool
