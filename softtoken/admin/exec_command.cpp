#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

#include "admin/arguments.h"
#include "admin/loaded_library.h"

namespace vemra::softtoken::admin {

namespace {

std::filesystem::path _library_directory() {
    std::filesystem::path tool = std::filesystem::read_symlink("/proc/self/exe");
    return (tool.parent_path() / SOFTTOKEN_FROM_BIN).lexically_normal();
}

bool _is_program(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

// Where execvp would find the command; empty when nowhere.
std::string _find_program(const std::string& command) {
    if (command.find('/') != std::string::npos) return _is_program(command) ? command : "";
    const char* path = std::getenv("PATH");
    std::istringstream directories(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        std::string candidate = (directory.empty() ? "." : directory) + "/" + command;
        if (_is_program(candidate)) return candidate;
    }
    return {};
}

void _prefer_directory(const std::string& directory) {
    const char* present = std::getenv("LD_LIBRARY_PATH");
    bool alone = present == nullptr || *present == '\0';
    std::string value = alone ? directory : directory + ":" + present;
    setenv("LD_LIBRARY_PATH", value.c_str(), 1);
}

void _refuse_privileged(const std::string& program) {
    struct stat status {};
    bool is_another_user =
        stat(program.c_str(), &status) == 0 && (status.st_mode & (S_ISUID | S_ISGID)) != 0;
    bool has_capabilities = getxattr(program.c_str(), "security.capability", nullptr, 0) > 0;
    if (!is_another_user && !has_capabilities) return;
    throw command_failure(
        exit_other_library,
        program +
            (is_another_user ? " runs with another user's rights" : " has file capabilities") +
            " and would not look for libraries where it is told to: run it without them");
}

void _refuse_other_library(const std::string& program, const std::string& wanted) {
    std::optional<std::string> other = other_device_library(program, wanted);
    if (!other) return;
    throw command_failure(exit_other_library,
                          program + " would load the device library " + *other +
                              " and not the software token: remove the RPATH, the absolute path "
                              "or the LD_PRELOAD that leads there");
}

void _exec(const std::vector<std::string>& words) {
    std::filesystem::path directory = _library_directory();
    std::filesystem::path library = directory / "libvemra_crypto.so.1";
    if (!std::filesystem::exists(library)) {
        throw command_failure(exit_cannot_run,
                              library.string() + " is missing: install the software token whole");
    }
    std::string program = _find_program(words.front());
    if (program.empty()) throw command_failure(exit_not_found, words.front() + ": no such program");
    _prefer_directory(directory);
    _refuse_privileged(program);
    _refuse_other_library(program, library);
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    throw command_failure(exit_cannot_run, program + " cannot be run: " + std::strerror(errno));
}

}  // namespace

void add_exec_command(CLI::App& program) {
    auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("exec", "Run a program on the software token");
    command->add_option("COMMAND", *words, "The program and its arguments, after --")->required();
    command->positionals_at_end();
    command->callback([words] { _exec(*words); });
}

}  // namespace vemra::softtoken::admin
