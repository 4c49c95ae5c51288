#include "personality/profile_text.h"

#include <set>

#include "personality/knob.h"

namespace vemra::softtoken {

namespace {

using json = knob::json;

constexpr const char* profile_format = "vemra-softtoken profile";
constexpr int profile_version = 1;
// A profile, its knobs, the table of one knob.
constexpr int deepest = 3;

// Keeps a reader from what a later key of the same name would silently undo, and from depths that
// no profile has.
class _watch {
public:
    bool operator()(int depth, json::parse_event_t event, const json& parsed) {
        if (depth >= deepest && is_begin(event)) throw bad_profile("it is nested too deeply");
        if (event == json::parse_event_t::object_start) keys_.emplace_back();
        if (event == json::parse_event_t::object_end) keys_.pop_back();
        if (event == json::parse_event_t::key && !keys_.back().insert(parsed).second) {
            throw bad_profile("\"" + parsed.get<std::string>() + "\" is told twice");
        }
        return true;
    }

private:
    static bool is_begin(json::parse_event_t event) {
        return event == json::parse_event_t::object_start ||
               event == json::parse_event_t::array_start;
    }

    std::vector<std::set<std::string>> keys_;
};

json _parse(const std::string& text) {
    if (text.size() > most_profile_bytes) {
        throw bad_profile("it has more than " + std::to_string(most_profile_bytes) + " bytes");
    }
    try {
        json parsed = json::parse(text, _watch());
        if (!parsed.is_object()) throw bad_profile("it is no JSON object");
        return parsed;
    } catch (const json::parse_error& error) {
        throw bad_profile("it is no JSON, at byte " + std::to_string(error.byte));
    } catch (const json::out_of_range&) {
        throw bad_profile("it has a number that is too large for any machine");
    }
}

void _require(const json& object, const char* key, const json& value) {
    if (!object.contains(key)) throw bad_profile(std::string("\"") + key + "\" is missing");
    if (object.at(key) == value) return;
    throw bad_profile(std::string("\"") + key + "\" is not " + value.dump());
}

// As a message tells it: not at full length, and whatever bytes a word has.
std::string _shown(const json& value) {
    constexpr std::size_t most = 60;
    std::string shown = value.dump(-1, ' ', true, json::error_handler_t::replace);
    return shown.size() <= most ? shown : shown.substr(0, most) + "...";
}

void _set(personality& changed, const knob& one, const json& value) {
    try {
        one.set(changed, value);
    } catch (const bad_value& error) {
        throw bad_profile("the knob \"" + one.name + "\" " + error.what() + ", not " +
                          _shown(value));
    }
}

const knob& _knob(const std::string& name) {
    const knob* found = find_knob(name);
    if (found == nullptr) throw bad_profile("there is no knob \"" + name + "\"");
    return *found;
}

void _set_all(personality& changed, const json& knobs) {
    if (!knobs.is_object()) throw bad_profile("\"knobs\" is no object");
    for (const auto& [name, value] : knobs.items())
        _set(changed, _knob(name), value);
}

void _require_frame(const json& profile) {
    _require(profile, "format", profile_format);
    _require(profile, "version", profile_version);
    if (profile.contains("about") && !profile["about"].is_string()) {
        throw bad_profile("\"about\" is no text");
    }
    if (!profile.contains("knobs")) throw bad_profile("\"knobs\" is missing");
    for (const auto& [key, value] : profile.items()) {
        if (key == "format" || key == "version" || key == "about" || key == "knobs") continue;
        throw bad_profile("\"" + key + "\" is no key of a profile");
    }
}

json _differing(const personality& from_default) {
    const personality usual;
    json differing = json::object();
    for_each_knob([&](const knob& one) {
        json value = one.get(from_default);
        if (value != one.get(usual)) differing[one.name] = value;
    });
    return differing;
}

}  // namespace

personality read_profile(const std::string& text) {
    const json profile = _parse(text);
    _require_frame(profile);
    personality read;
    _set_all(read, profile.at("knobs"));
    return read;
}

void set_knob(personality& changed, const std::string& name, const std::string& word) {
    const knob& one = _knob(name);
    _set(changed, one, one.read_word(word));
}

std::string kept_text(const personality& kept) {
    const json differing = _differing(kept);
    json text = json::object();
    for (const auto& [name, value] : differing.items()) {
        if (_knob(name).place == kept_in::behaviour) text[name] = value;
    }
    return text.dump();
}

void apply_kept_text(personality& changed, const std::string& text) {
    _set_all(changed, _parse(text));
}

std::vector<std::pair<std::string, std::string>> differences(const personality& from_default) {
    const json differing = _differing(from_default);
    std::vector<std::pair<std::string, std::string>> told;
    for (const auto& [name, value] : differing.items())
        told.emplace_back(name, value.dump());
    return told;
}

std::string profile_schema() {
    const personality usual;
    json knobs = json::object();
    for_each_knob([&](const knob& one) {
        json schema = {{"description", one.help + ": " + one.values}, {"default", one.get(usual)}};
        schema.update(one.schema);
        knobs[one.name] = schema;
    });
    json schema = {
        {"$schema", "http://json-schema.org/draft-07/schema#"},
        {"title", "A profile of vemra-softtoken, version " + std::to_string(profile_version)},
        {"type", "object"},
        {"additionalProperties", false},
        {"required", {"format", "version", "knobs"}},
        {"properties",
         {{"format", {{"const", profile_format}}},
          {"version", {{"const", profile_version}}},
          {"about", {{"description", "for people; not read"}, {"type", "string"}}},
          {"knobs",
           {{"description", "what is not named is as by default"},
            {"type", "object"},
            {"additionalProperties", false},
            {"properties", knobs}}}}}};
    return schema.dump(2) + "\n";
}

}  // namespace vemra::softtoken
