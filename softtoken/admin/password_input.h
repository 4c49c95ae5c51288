/** The passwords that a command needs, as its options and the person at the terminal give them. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "command_line/password_source.h"

namespace vemra::softtoken::admin {

/* One password of a command. */
class password_input {
public:
    /* prefix is "" or "new-"; it makes the option names, what names the password in prompts. */
    password_input(const std::string& prefix, std::string what) : what_(std::move(what)) {
        source_.option_prefix = prefix;
    }

    /* Adds the options; this must live until the command line is parsed. */
    void add_to(CLI::App& command);

    /* The first line of the file or descriptor, or what is typed at the prompt. Never empty. */
    void read(secret& password) const;
    /* The same for a password that is to be set: typed twice at the prompt. */
    void read_new(secret& password) const;

private:
    password_source source_;
    std::string what_;
};

}  // namespace vemra::softtoken::admin
