/** One knob of a personality: its name, its values, and how they are read and told. */
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "personality/personality.h"

namespace vemra::softtoken {

/* A value that a knob cannot have; the text tells what it could have. */
class bad_value : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* Where a token keeps a knob. */
enum class kept_in {
    behaviour, /* with all the others, as text */
    column,    /* in a column of its own, which every format has */
};

struct knob {
    using json = nlohmann::ordered_json;

    std::string name;   /* the key in a profile's file, and the option without its dashes */
    std::string help;   /* what it does, in a few words */
    std::string values; /* those that it can have, the first one by default, for people */
    json schema;        /* the same as a JSON schema of the value */
    bool is_size = false;
    kept_in place = kept_in::behaviour;
    std::function<json(const personality&)> get;
    /* Throws bad_value, and changes nothing then. */
    std::function<void(personality&, const json&)> set;
    /* What the word of an option stands for; it need not be a value that the knob can have. */
    std::function<json(const std::string&)> read_word;
};

/* Knobs that belong together. */
struct knob_group {
    std::string name;
    std::vector<knob> knobs;
};

/* All knobs: the one table from which files, options, their help and the schema come. */
const std::vector<knob_group>& knob_table();

/* Null when there is no knob of that name. */
const knob* find_knob(const std::string& name);

/* Calls with each knob, in the table's order. */
template <typename Visit>
void for_each_knob(Visit visit) {
    for (const knob_group& group : knob_table()) {
        for (const knob& one : group.knobs)
            visit(one);
    }
}

}  // namespace vemra::softtoken
