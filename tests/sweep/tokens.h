#ifndef SWEEP_TOKENS_H
#define SWEEP_TOKENS_H

#include <string>
#include <vector>

/** An attached device that needs no password. */
struct token {
    std::string serial;
    int type;
};

/** Makes this many devices, in place of all earlier ones, and attaches them. */
std::vector<token> make_tokens(int count);

#endif
