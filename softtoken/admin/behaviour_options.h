/** The options that set how a token behaves: a profile, and single knobs over it. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "personality/personality.h"

namespace vemra::softtoken::admin {

/* The options, and what was given for them. It must live until the command line is parsed. */
class behaviour_options {
public:
    void add_to(CLI::App& command);
    /*
     * Sets what was given, the profile first; what was not given stays. Throws command_failure
     * (usage) for what is no profile, and for values that no knob can have.
     */
    void apply_to(personality& changed) const;
    /* Whether any of the options was given. */
    bool is_given() const;

private:
    /* One knob's option; the word is what was given for it. */
    struct knob_option {
        std::string name;
        std::string word;
        CLI::Option* option = nullptr;
    };

    std::string profile_;
    std::string file_;
    std::vector<knob_option> knobs_;
};

}  // namespace vemra::softtoken::admin
