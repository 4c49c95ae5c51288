/** The kinds of knobs that the table is made of. Each makes a knob over members of a personality.
 */
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "personality/knob.h"

namespace vemra::softtoken {

/* A whole number. The member holds it multiplied by the factor. */
struct number_range {
    std::int64_t lowest;
    std::int64_t highest;
    std::int64_t factor = 1;
};
knob number_knob(const char* name, std::int64_t personality::*member, number_range range,
                 const char* values, const char* help);
/* A number of bytes, which an option may tell with a unit. */
knob size_knob(const char* name, std::int64_t personality::*member, const char* help);

knob flag_knob(const char* name, bool personality::*member, const char* help);

/* One of several words, by its place among them. */
knob word_knob(const char* name, std::vector<std::string> words, const char* help,
               const std::function<int(const personality&)>& get,
               const std::function<void(personality&, int)>& set);

/* The same for an enumeration; the words are in its order. */
template <typename Enumeration>
knob choice_knob(const char* name, Enumeration personality::*member,
                 std::initializer_list<const char*> words, const char* help) {
    return word_knob(
        name, {words.begin(), words.end()}, help,
        [member](const personality& from) { return static_cast<int>(from.*member); },
        [member](personality& to, int word) { to.*member = static_cast<Enumeration>(word); });
}

/* One of several words, of which the first stands for none: an empty text. */
knob name_knob(const char* name, std::string personality::*member,
               const std::vector<std::string>& words, const char* help);

/* A text that a regular expression matches. */
knob pattern_knob(const char* name, std::string personality::*member, const char* pattern,
                  const char* values, const char* help);

/*
 * A text, or null where that is nothing. "hex:" and hexadecimal digits stand for bytes that no text
 * has.
 */
knob bytes_knob(const char* name, std::optional<std::string> personality::*member,
                const char* help);
/* A whole number of 32 bits, or null. */
knob optional_number_knob(const char* name, std::optional<std::int64_t> personality::*member,
                          const char* help);

/* Tables by whole numbers of up to nine digits: to other numbers, and to texts as above. */
knob number_table_knob(const char* name, std::map<int, int> personality::*member,
                       const char* values, const char* help);
knob bytes_table_knob(const char* name,
                      std::map<int, std::optional<std::string>> personality::*member,
                      const char* values, const char* help);

}  // namespace vemra::softtoken
