/** Lists of devices, as the tokens in them let them be told. */
#pragma once

#include <chrono>
#include <map>
#include <vector>

#include "library/token.h"

namespace vemra::softtoken {

/* What a process's lists were so far. Used by one thread at a time. */
class told_list {
public:
    /* A list begins. */
    void begin();
    /* Whether a list has a token that is attached or not; a token may be behind what is true. */
    bool has(token* asked, bool is_attached);
    /* What the list becomes of the tokens that it has; null is a place without a device. */
    std::vector<token*> told(const std::vector<token*>& tokens) const;

private:
    using clock = std::chrono::steady_clock;

    /* What lists say of a token, and since when. */
    struct memory {
        bool is_listed = false;
        clock::time_point looked;
    };

    unsigned int lists_ = 0;
    clock::time_point first_list_;
    std::map<token*, memory> memories_;
};

}  // namespace vemra::softtoken
