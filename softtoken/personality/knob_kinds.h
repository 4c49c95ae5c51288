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

}  // namespace vemra::softtoken
