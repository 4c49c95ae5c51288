#include "admin/arguments.h"

#include <cerrno>
#include <cstdio>

#include "command_line/lost_output.h"

namespace vemra::softtoken::admin {

void tell_done(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        std::printf("%s\n", line.c_str());
    if (std::fflush(stdout) != 0) throw lost_output(errno, lines);
}

void add_token_name(CLI::App& command, std::string& name) {
    command.add_option("TOKEN", name, "The token's name, as \"list\" shows it")->required();
}

}  // namespace vemra::softtoken::admin
