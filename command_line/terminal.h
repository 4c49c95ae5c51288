/**
 * Questions to the person at the terminal, whatever standard input and output are. What goes wrong
 * with the terminal itself is a std::runtime_error.
 */
#pragma once

#include <string>

#include "command_line/descriptor.h"
#include "command_line/secret.h"

namespace vemra {

class terminal {
public:
    /** The terminal that controls the process; is_open() is false when there is none. */
    terminal();

    bool is_open() const { return device_.is_open(); }
    /** True only for an answer that begins with y. */
    bool confirm(const std::string& question);
    /** Reads one line without echo; throws input_error when it is too long. False at the end of
     * input. */
    bool ask_secret(const std::string& question, secret& answer);

private:
    descriptor device_;
};

/** The same from an open terminal's descriptor. */
bool ask_secret_on(int descriptor, const std::string& question, secret& answer);

}  // namespace vemra
