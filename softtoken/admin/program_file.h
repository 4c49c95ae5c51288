/** A program as the kernel would run it: where it is found, and which file is loaded in the end. */
#pragma once

#include <string>

namespace vemra::softtoken::admin {

/*
 * The path under which a shell would run the command. Throws command_failure, as a shell would end:
 * exit_not_found when there is no such file, exit_cannot_run for one that may not be run.
 */
std::string find_program(const std::string& command);

/*
 * Whether a shell takes the file for its own commands when the kernel does not know what it is: no
 * zero byte stands in its first line, as far as it looks.
 */
bool is_shell_text(const std::string& program);

/* The file that the kernel loads: the program itself, or the last interpreter of a script. */
std::string loaded_file(const std::string& program);

}  // namespace vemra::softtoken::admin
