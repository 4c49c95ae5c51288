#include "personality/knob_kinds.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vemra::softtoken {

namespace {

using json = knob::json;

// A word that is no number stays a text, which a number refuses by its own name.
json _number_or_text(const std::string& word) {
    std::int64_t number = 0;
    const char* end = word.data() + word.size();
    auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error == std::errc() && stop == end) return number;
    return word;
}

json _text(const std::string& word) {
    return word;
}

// What another tool's reader of the value is told.
std::string _joined(const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : ", ") + word;
    return joined;
}

// Where the word is no JSON, it stays a text.
json _json_or_text(const std::string& word) {
    json value = json::parse(word, nullptr, false);
    return value.is_discarded() ? json(word) : value;
}

bool _is_in(const number_range& range, const json& value) {
    if (!value.is_number_integer()) return false;
    // A number without a sign may be greater than any with one.
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) return false;
    return value.get<std::int64_t>() >= range.lowest && value.get<std::int64_t>() <= range.highest;
}

}  // namespace

knob number_knob(const char* name, std::int64_t personality::*member, number_range range,
                 const char* values, const char* help) {
    knob made;
    made.name = name;
    made.help = help;
    made.values = values;
    made.schema = {{"type", "integer"}, {"minimum", range.lowest}, {"maximum", range.highest}};
    made.get = [member, range](const personality& from) { return from.*member / range.factor; };
    made.set = [member, range](personality& to, const json& value) {
        if (!_is_in(range, value)) {
            throw bad_value("is a whole number from " + std::to_string(range.lowest) + " to " +
                            std::to_string(range.highest));
        }
        to.*member = value.get<std::int64_t>() * range.factor;
    };
    made.read_word = _number_or_text;
    return made;
}

knob flag_knob(const char* name, bool personality::*member, const char* help) {
    knob made;
    made.name = name;
    made.help = help;
    made.values = "false, true";
    made.schema = {{"type", "boolean"}};
    made.get = [member](const personality& from) { return from.*member; };
    made.set = [member](personality& to, const json& value) {
        if (!value.is_boolean()) throw bad_value("is true or false");
        to.*member = value.get<bool>();
    };
    made.read_word = _json_or_text;
    return made;
}

knob size_knob(const char* name, std::int64_t personality::*member, const char* help) {
    knob made = number_knob(name, member, {0, std::numeric_limits<std::int64_t>::max()},
                            "a number of bytes", help);
    made.is_size = true;
    return made;
}

knob word_knob(const char* name, std::vector<std::string> words, const char* help,
               const std::function<int(const personality&)>& get,
               const std::function<void(personality&, int)>& set) {
    knob made;
    made.name = name;
    made.help = help;
    made.values = _joined(words);
    made.schema = {{"enum", words}};
    made.get = [get, words](const personality& from) {
        return words.at(static_cast<std::size_t>(get(from)));
    };
    made.set = [set, words](personality& to, const json& value) {
        for (std::size_t place = 0; place < words.size(); ++place) {
            if (value == words[place]) return set(to, static_cast<int>(place));
        }
        throw bad_value("is one of " + _joined(words));
    };
    made.read_word = _text;
    return made;
}

knob name_knob(const char* name, std::string personality::*member,
               const std::vector<std::string>& words, const char* help) {
    return word_knob(
        name, words, help,
        [member, words](const personality& from) {
            const auto place = std::find(words.begin(), words.end(), from.*member);
            return place == words.end() ? 0 : static_cast<int>(place - words.begin());
        },
        [member, words](personality& to, int word) {
            to.*member = word == 0 ? std::string() : words[static_cast<std::size_t>(word)];
        });
}

}  // namespace vemra::softtoken
