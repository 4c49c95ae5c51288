/** What each function of the device interface that can be told to fail works on. */
#pragma once

#include <string>

namespace vemra::softtoken {

/* It decides whether a fault of a token can fire, and whether naming a slot makes sense. */
enum class works_on {
    nothing, /* no token at all */
    handle,  /* a token's handle, without asking the token */
    token,
    slot, /* a token, and a slot that is named */
    any,  /* the asterisk, which stands for all functions */
};

/* The name without VemraPKI or VemraPKICrypto. */
std::string short_name(const std::string& function);

/* Null for a short name that is no function, or one that never fails. */
const works_on* find_function(const std::string& name);

}  // namespace vemra::softtoken
