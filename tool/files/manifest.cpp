#include "files/manifest.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "basics/hex.h"
#include "basics/text.h"
#include "files/file.h"

namespace vemra::tool {

namespace {

using json = nlohmann::ordered_json;

constexpr const char* manifest_format = "vemra-stamp backup";
constexpr int manifest_version = 1;
// More than any device holds; what is read of a backup is held in memory.
constexpr std::size_t most_entries = 16;
constexpr std::size_t digest_digits = 64;
constexpr int first_slot = 8130;
constexpr int last_slot = 8134;

// JSON holds UTF-8 only; what is not goes beside it in hexadecimal digits.
void _put_text(json& object, const std::string& key, const std::string& text) {
    if (is_utf8(text))
        object[key] = text;
    else
        object[key + "_hex"] = to_hex(text);
}

const json& _member(const json& object, const std::string& key) {
    if (!object.is_object() || !object.contains(key)) {
        throw damaged_manifest("\"" + key + "\" is missing");
    }
    return object.at(key);
}

std::string _string(const json& object, const std::string& key) {
    const json& value = _member(object, key);
    if (!value.is_string()) throw damaged_manifest("\"" + key + "\" is no text");
    return value.get<std::string>();
}

std::string _from_hex(const json& object, const std::string& key) {
    const auto bytes = from_hex(_string(object, key));
    if (!bytes) throw damaged_manifest("\"" + key + "\" is not in hexadecimal digits");
    return *bytes;
}

std::string _get_text(const json& object, const std::string& key) {
    const std::string hex_key = key + "_hex";
    if (!object.is_object() || !object.contains(hex_key)) return _string(object, key);
    if (object.contains(key)) throw damaged_manifest("\"" + key + "\" is told twice");
    return _from_hex(object, hex_key);
}

// From 0 up: nothing that a manifest counts is negative.
std::size_t _number(const json& object, const std::string& key, std::size_t most) {
    const json& value = _member(object, key);
    if (!value.is_number_unsigned() || value.get<std::size_t>() > most) {
        throw damaged_manifest("\"" + key + "\" is no number from 0 to " + std::to_string(most));
    }
    return value.get<std::size_t>();
}

int _type(const json& device) {
    const json& value = _member(device, "type");
    const auto type = value.is_number_integer() ? value.get<std::int64_t>() : -1;
    if (type < std::numeric_limits<int>::min() || type > std::numeric_limits<int>::max() ||
        !value.is_number_integer()) {
        throw damaged_manifest("\"type\" is no device's type");
    }
    return static_cast<int>(type);
}

int _slot(const json& entry) {
    const int slot = static_cast<int>(_number(entry, "slot", last_slot));
    if (slot == 0 || slot >= first_slot) return slot;
    throw damaged_manifest("slot " + std::to_string(slot) + " holds no stamps");
}

std::string _digest(const json& entry) {
    std::string digest = _string(entry, "sha256");
    if (digest.size() == digest_digits && from_hex(digest)) return digest;
    throw damaged_manifest("\"sha256\" is no digest");
}

// A manifest must not lead out of its directory, nor to another file than the name tells people.
std::string _plain_name(const json& entry) {
    const std::string file = _string(entry, "file");
    const bool is_plain = !file.empty() && file.find('/') == std::string::npos && file != "." &&
                          file != ".." && !has_control_characters(file);
    if (is_plain) return file;
    throw damaged_manifest("the file " + quoted(file) + " is not in its directory");
}

manifest::entry _entry(const json& object) {
    manifest::entry one;
    one.name = _get_text(object, "name");
    one.slot = _slot(object);
    one.uuid = _from_hex(object, "uuid");
    one.bytes = _number(object, "bytes", most_stamp_bytes);
    one.sha256 = _digest(object);
    one.file = _plain_name(object);
    return one;
}

listed_stamp _listed_stamp(const json& object) {
    listed_stamp one;
    one.slot = _slot(object);
    one.name = _get_text(object, "name");
    if (object.contains("sha256")) one.sha256 = _digest(object);
    return one;
}

// A list of stamps; `read` gets each.
void _read_list(const json& object, const std::string& key,
                const std::function<void(const json&)>& read) {
    const json& list = _member(object, key);
    if (!list.is_array()) throw damaged_manifest("\"" + key + "\" is no list");
    if (list.size() > most_entries) {
        throw damaged_manifest("it lists more than " + std::to_string(most_entries) + " stamps");
    }
    std::for_each(list.begin(), list.end(), read);
}

void _require_distinct(const std::vector<manifest::entry>& entries) {
    std::set<int> slots;
    std::set<std::string> uuids;
    std::set<std::string> files;
    for (const manifest::entry& one : entries) {
        if (one.slot != 0 && !slots.insert(one.slot).second) {
            throw damaged_manifest("two stamps are of slot " + std::to_string(one.slot));
        }
        if (!one.uuid.empty() && !uuids.insert(one.uuid).second) {
            throw damaged_manifest("two stamps have the uuid " + to_hex(one.uuid));
        }
        if (!files.insert(one.file).second) {
            throw damaged_manifest("two stamps are in the file " + quoted(one.file));
        }
    }
}

// Of two values of one key readers take either; a manifest says everything once.
class single_keys {
public:
    bool operator()(int /*depth*/, json::parse_event_t event, const json& parsed) {
        if (event == json::parse_event_t::object_start) open_.emplace_back();
        if (event == json::parse_event_t::object_end) open_.pop_back();
        if (event != json::parse_event_t::key) return true;
        const auto key = parsed.get<std::string>();
        if (open_.back().insert(key).second) return true;
        throw damaged_manifest("the key " + quoted(key) + " stands there twice");
    }

private:
    std::vector<std::set<std::string>> open_;
};

json _parse(const std::string& text) {
    try {
        return json::parse(text, single_keys());
    } catch (const json::exception& error) {
        throw damaged_manifest(printable(error.what()));
    }
}

}  // namespace

std::string print_manifest(const manifest& listed, const std::string& created) {
    json object{{"format", manifest_format}, {"version", manifest_version}, {"created", created}};
    object["device"] = json::object();
    _put_text(object["device"], "serial", listed.serial);
    object["device"]["type"] = listed.type;
    object["stamps"] = json::array();
    for (const manifest::entry& one : listed.stamps) {
        json entry = json::object();
        _put_text(entry, "name", one.name);
        entry["slot"] = one.slot;
        entry["uuid"] = to_hex(one.uuid);
        entry["bytes"] = one.bytes;
        entry["sha256"] = one.sha256;
        entry["file"] = one.file;
        object["stamps"].push_back(entry);
    }
    for (const listed_stamp& one : listed.listed) {
        json entry{{"slot", one.slot}};
        _put_text(entry, "name", one.name);
        if (!one.sha256.empty()) entry["sha256"] = one.sha256;
        object["listed"].push_back(entry);
    }
    return object.dump(4) + "\n";
}

manifest parse_manifest(const std::string& text) {
    const json object = _parse(text);
    if (_string(object, "format") != manifest_format ||
        _number(object, "version", std::numeric_limits<std::size_t>::max()) != manifest_version) {
        throw damaged_manifest("it is of a format that this tool cannot read");
    }
    manifest listed;
    const json& device = _member(object, "device");
    listed.serial = _get_text(device, "serial");
    listed.type = _type(device);
    _read_list(object, "stamps",
               [&](const json& entry) { listed.stamps.push_back(_entry(entry)); });
    if (object.contains("listed")) {
        _read_list(object, "listed",
                   [&](const json& entry) { listed.listed.push_back(_listed_stamp(entry)); });
    }
    _require_distinct(listed.stamps);
    return listed;
}

}  // namespace vemra::tool
