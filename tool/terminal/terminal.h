/** Questions to the person at the terminal, whatever standard input and output are. */
#pragma once

#include <string>

#include "basics/secret.h"
#include "files/descriptor.h"

namespace vemra::tool {

class terminal {
public:
    /** The terminal that controls the process; is_open() is false when there is none. */
    terminal();

    bool is_open() const { return device_.is_open(); }
    /** True only for an answer that begins with y. */
    bool confirm(const std::string& question);
    /** Reads one line without echo. False at the end of input. */
    bool ask_secret(const std::string& question, secret& answer);

private:
    descriptor device_;
};

/** The same from an open terminal's descriptor. */
bool ask_secret_on(int descriptor, const std::string& question, secret& answer);

}  // namespace vemra::tool
