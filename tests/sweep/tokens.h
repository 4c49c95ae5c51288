#pragma once

#include <string>
#include <vector>

/** An attached device that needs no password for a change. */
struct token {
    std::string serial;
    int type;
};

constexpr const char* token_password = "12345678";

/** Makes this many devices, in place of all earlier ones, and attaches them. */
std::vector<token> make_tokens(int count);

/** What is wrong with the files in which the devices are kept; nothing when they are sound. */
std::string unsound_files();
