/** Passwords from a prompt without echo, a file or a descriptor; never from the command line. */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vemra::softtoken::admin {

/* One password of a command. */
class password_input {
public:
    /* prefix is "" or "new-"; it makes the option names, what names the password in prompts. */
    password_input(std::string prefix, std::string what)
        : prefix_(std::move(prefix)), what_(std::move(what)) {}

    /* Adds the options; this must live until the command line is parsed. */
    void add_to(CLI::App& command);

    /* The first line of the file or descriptor, or what is typed at the prompt. */
    std::string read() const;
    /* The same for a password that is to be set: not empty, and typed twice at the prompt. */
    std::string read_new() const;

private:
    std::string from_file_or_descriptor() const;
    bool is_given() const { return !file_.empty() || descriptor_ >= 0; }

    std::string prefix_;
    std::string what_;
    std::string file_;
    int descriptor_ = -1;
};

}  // namespace vemra::softtoken::admin
