/** Where a password comes from: a terminal, a file or a descriptor; never the command line. */
#pragma once

#include <functional>
#include <string>

#include "command_line/secret.h"

namespace vemra {

struct password_source {
    std::string file;
    int descriptor = -1;
    bool no_input = false; /**< Nobody may be asked. */
    /** Between the dashes and the names of the options that give the two above, for messages. */
    std::string option_prefix;

    bool is_given() const { return !file.empty() || descriptor >= 0; }
};

/**
 * Reads the first line of the file or the descriptor, or asks for it without echo; a descriptor may
 * be a terminal too. A descriptor that is none is read once: a password that is there already
 * stays. True when a person typed it and may try again. Tells by warn that others can read the
 * file. Throws input_error when there is no source, and for a line that no password can be: an
 * empty one, one with a zero byte, one longer than a secret.
 */
bool read_password(const password_source& source, const std::string& question, secret& password,
                   const std::function<void(const std::string&)>& warn);

}  // namespace vemra
