/**
 * Personalities as JSON text: profiles, which are files of users', and what a token keeps of its
 * own. docs/formats.md has the form.
 */
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "personality/personality.h"

namespace vemra::softtoken {

/* No text of a profile has more bytes. */
constexpr std::size_t most_profile_bytes = 1 << 20;

/* A text that is no profile; what is wrong, by the name of the knob where there is one. */
class bad_profile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* The personality of a profile's text: what it does not name is as by default. */
personality read_profile(const std::string& text);

/* Sets one knob from the word of an option. Throws bad_profile, and changes nothing then. */
void set_knob(personality& changed, const std::string& name, const std::string& word);

/* What a token keeps as text of a personality, and what that is when there is nothing to keep. */
constexpr const char* no_kept_text = "{}";
std::string kept_text(const personality& kept);
/* Sets what such a text names. Throws bad_profile. */
void apply_kept_text(personality& changed, const std::string& text);

/* The knobs that are not as by default, with their values, as a profile's file has them. */
std::vector<std::pair<std::string, std::string>> differences(const personality& from_default);

/* The JSON schema of profiles. */
std::string profile_schema();

}  // namespace vemra::softtoken
