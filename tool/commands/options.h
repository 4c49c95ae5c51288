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
};

/** The device of commands that work on one; an empty serial number or type -1 is left open. */
struct device_options {
    std::string serial;
    int type = -1;
};

}  // namespace vemra::tool
