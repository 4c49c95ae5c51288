/** A token whose knobs a test turns while this process uses it. */
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "one_token_test.h"

namespace softtoken_test {

/* One token with "bytes" in slot 8130; each turn is over all knobs as by default. */
class knob_test : public one_token_test {
protected:
    /* Knobs with the words that their options take. */
    void turn(std::initializer_list<std::pair<const char*, const char*>> knobs) const;

    int read(int id, int buffer_size, std::string& bytes) const;
    int told_length(int id) const;
};

}  // namespace softtoken_test
