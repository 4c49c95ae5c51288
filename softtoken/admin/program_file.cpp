#include "admin/program_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>

#include "admin/arguments.h"

namespace vemra::softtoken::admin {

namespace {

/* The kernel looks no further into a script, and follows no more interpreters one after another. */
constexpr std::size_t longest_first_line = 256;
constexpr int most_interpreters = 5;
/* Nor does a shell. */
constexpr std::size_t shells_look = 80;

// Why the file cannot be run, as a number of errno; 0 when it can.
int _obstacle(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EACCES;
    return access(path.c_str(), X_OK) == 0 ? 0 : errno;
}

[[noreturn]] void _refuse(const std::string& program, int obstacle) {
    if (obstacle == ENOENT) {
        throw command_failure(exit_not_found, program + ": no such program");
    }
    throw command_failure(exit_cannot_run, program + " cannot be run: " + std::strerror(obstacle));
}

std::string _start_of(const std::string& path, std::size_t most) {
    std::ifstream file(path, std::ios::binary);
    std::string start(most, '\0');
    file.read(start.data(), static_cast<std::streamsize>(most));
    start.resize(static_cast<std::size_t>(file.gcount()));
    return start;
}

// As the kernel reads it: words end at a blank or a tab, the line at its end or a zero byte.
std::string _interpreter_of_script(const std::string& path) {
    constexpr std::string_view blanks(" \t");
    const std::string start = _start_of(path, longest_first_line);
    std::string_view line = start;
    if (line.substr(0, 2) != "#!") return {};
    line = line.substr(2, line.find_first_of(std::string_view("\n\0", 2)) - 2);
    std::size_t begin = line.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    line.remove_prefix(begin);
    return std::string(line.substr(0, line.find_first_of(blanks)));
}

}  // namespace

std::string find_program(const std::string& command) {
    if (command.find('/') != std::string::npos) {
        int obstacle = _obstacle(command);
        if (obstacle != 0) _refuse(command, obstacle);
        return command;
    }
    const char* path = std::getenv("PATH");
    std::istringstream directories(std::string(path == nullptr ? "/usr/bin:/bin" : path) + ":");
    std::string found = command;
    int reason = ENOENT;
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string candidate = (directory.empty() ? "." : directory) + "/" + command;
        int obstacle = _obstacle(candidate);
        if (obstacle == 0) return candidate;
        // A later directory may have one that can be run; one that may not be searched has none.
        bool is_there = access(candidate.c_str(), F_OK) == 0;
        if (obstacle != EACCES || !is_there || reason != ENOENT) continue;
        found = candidate;
        reason = obstacle;
    }
    _refuse(found, reason);
}

bool is_shell_text(const std::string& program) {
    const std::string start = _start_of(program, shells_look);
    return start.find('\0') >= start.find('\n');
}

std::string loaded_file(const std::string& program) {
    std::string file = program;
    for (int depth = 0; depth < most_interpreters; ++depth) {
        std::string interpreter = _interpreter_of_script(file);
        if (interpreter.empty() || _obstacle(interpreter) != 0) break;
        file = interpreter;
    }
    return file;
}

}  // namespace vemra::softtoken::admin
