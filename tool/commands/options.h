/** What the user asked for on the command line. */
#pragma once

#include <string>
#include <vector>

namespace vemra::tool {

/** Options that every command knows. */
struct common_options {
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool no_input = false;
    /** "-" for standard error, else a file; empty for no trace. */
    std::string debug;
    std::string password_file;
    int password_fd = -1;
    double timeout = 10;
    /** Of the commands that only read. */
    bool no_lock = false;
};

}  // namespace vemra::tool
