/** The kinds of knobs that hold texts, values that may be nothing, and tables. */
#include <cctype>
#include <charconv>
#include <regex>

#include "personality/knob_kinds.h"

namespace vemra::softtoken {

namespace {

using json = knob::json;

constexpr const char* hex_mark = "hex:";
constexpr const char* text_pattern = "^(?!hex:)|^hex:([0-9a-f]{2})*$";
constexpr const char* number_pattern = "^(0|-?[1-9][0-9]{0,8})$";

json _text(const std::string& word) {
    return word;
}

json _json_or_text(const std::string& word) {
    json value = json::parse(word, nullptr, false);
    return value.is_discarded() ? json(word) : value;
}

// JSON holds UTF-8 only; a word of the command line may be anything.
bool _is_text(const json& value) {
    if (!value.is_string()) return false;
    try {
        static_cast<void>(value.dump());
        return true;
    } catch (const json::type_error&) {
        return false;
    }
}

bool _is_hex(const std::string& digits) {
    return digits.size() % 2 == 0 &&
           digits.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// The bytes that a value stands for.
std::optional<std::string> _bytes(const json& value) {
    const std::string mark = hex_mark;
    if (value.is_null()) return std::nullopt;
    if (!_is_text(value)) throw bad_value("is a text, or null");
    auto text = value.get<std::string>();
    if (text.rfind(mark, 0) != 0) return text;
    const std::string digits = text.substr(mark.size());
    if (!_is_hex(digits)) throw bad_value("has pairs of hexadecimal digits after \"hex:\"");
    std::string bytes;
    for (std::size_t place = 0; place < digits.size(); place += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(place, 2), nullptr, 16));
    }
    return bytes;
}

json _value_of(const std::optional<std::string>& bytes) {
    const std::string mark = hex_mark;
    if (!bytes) return nullptr;
    if (_is_text(*bytes) && bytes->rfind(mark, 0) != 0) return *bytes;
    std::string digits;
    for (char byte : *bytes) {
        for (int shift : {4, 0})
            digits += "0123456789abcdef"[static_cast<unsigned char>(byte) >> shift & 15];
    }
    return mark + digits;
}

std::optional<int> _int(const json& value) {
    if (!value.is_number_integer()) return std::nullopt;
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT32_MAX) return std::nullopt;
    const auto number = value.get<std::int64_t>();
    if (number < INT32_MIN || number > INT32_MAX) return std::nullopt;
    return static_cast<int>(number);
}

int _key(const std::string& text) {
    static const std::regex form(number_pattern);
    int key = 0;
    if (text.size() > 10 || !std::regex_match(text, form)) {
        throw bad_value("is a table by whole numbers of up to nine digits");
    }
    std::from_chars(text.data(), text.data() + text.size(), key);
    return key;
}

// Reads the table of a value with what reads one entry of it.
template <typename Entry, typename Read>
std::map<int, Entry> _table(const json& value, Read read) {
    if (!value.is_object()) throw bad_value("is a table: {\"NUMBER\": VALUE}");
    std::map<int, Entry> table;
    for (const auto& [key, entry] : value.items())
        table[_key(key)] = read(entry);
    return table;
}

json _table_schema(const json& entry) {
    return {{"type", "object"},
            {"additionalProperties", false},
            {"patternProperties", {{number_pattern, entry}}}};
}

knob _knob(const char* name, const char* help, const char* values, const json& schema) {
    knob made;
    made.name = name;
    made.help = help;
    made.values = values;
    made.schema = schema;
    made.read_word = _json_or_text;
    return made;
}

}  // namespace

knob pattern_knob(const char* name, std::string personality::*member, const char* pattern,
                  const char* values, const char* help) {
    knob made = _knob(name, help, values, {{"type", "string"}, {"pattern", pattern}});
    made.get = [member](const personality& from) { return from.*member; };
    made.set = [member, form = std::regex(pattern), values](personality& to, const json& value) {
        constexpr std::size_t longest = 1000;
        if (!_is_text(value) || value.get<std::string>().size() > longest ||
            !std::regex_match(value.get<std::string>(), form)) {
            throw bad_value(std::string("is ") + values);
        }
        to.*member = value.get<std::string>();
    };
    made.schema["maxLength"] = 1000;
    made.read_word = _text;
    return made;
}

knob bytes_knob(const char* name, std::optional<std::string> personality::*member,
                const char* help) {
    knob made = _knob(name, help, "null, any text, or hex: and digits for bytes",
                      {{"type", {"string", "null"}}, {"pattern", text_pattern}});
    made.get = [member](const personality& from) { return _value_of(from.*member); };
    made.set = [member](personality& to, const json& value) { to.*member = _bytes(value); };
    made.read_word = _text;
    return made;
}

knob optional_number_knob(const char* name, std::optional<std::int64_t> personality::*member,
                          const char* help) {
    knob made =
        _knob(name, help, "null, any number of 32 bits",
              {{"type", {"integer", "null"}}, {"minimum", INT32_MIN}, {"maximum", INT32_MAX}});
    made.get = [member](const personality& from) {
        return from.*member ? json(*(from.*member)) : json(nullptr);
    };
    made.set = [member](personality& to, const json& value) {
        const std::optional<int> number = _int(value);
        if (!number && !value.is_null()) throw bad_value("is a whole number of 32 bits, or null");
        to.*member = number ? std::optional<std::int64_t>(*number) : std::nullopt;
    };
    return made;
}

knob number_table_knob(const char* name, std::map<int, int> personality::*member,
                       const char* values, const char* help) {
    knob made =
        _knob(name, help, values,
              _table_schema({{"type", "integer"}, {"minimum", INT32_MIN}, {"maximum", INT32_MAX}}));
    made.get = [member](const personality& from) {
        json table = json::object();
        for (const auto& [key, entry] : from.*member)
            table[std::to_string(key)] = entry;
        return table;
    };
    made.set = [member](personality& to, const json& value) {
        to.*member = _table<int>(value, [](const json& entry) {
            const std::optional<int> number = _int(entry);
            if (!number) throw bad_value("is a table to whole numbers of 32 bits");
            return *number;
        });
    };
    return made;
}

knob bytes_table_knob(const char* name,
                      std::map<int, std::optional<std::string>> personality::*member,
                      const char* values, const char* help) {
    knob made = _knob(name, help, values,
                      _table_schema({{"type", {"string", "null"}}, {"pattern", text_pattern}}));
    made.get = [member](const personality& from) {
        json table = json::object();
        for (const auto& [key, entry] : from.*member)
            table[std::to_string(key)] = _value_of(entry);
        return table;
    };
    made.set = [member](personality& to, const json& value) {
        to.*member = _table<std::optional<std::string>>(value, _bytes);
    };
    return made;
}

}  // namespace vemra::softtoken
