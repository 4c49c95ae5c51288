#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "admin/arguments.h"
#include "admin/loaded_library.h"
#include "admin/program_file.h"
#include "command_line/hardening.h"
#include "command_line/interruption.h"

namespace vemra::softtoken::admin {

namespace {

// Beside the tool, or where an absolute folder of libraries was configured.
std::filesystem::path _library_directory() {
    std::filesystem::path bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::filesystem::path built = (bin / SOFTTOKEN_BUILT).lexically_normal();
    if (std::filesystem::exists(built)) return built;
    return (bin / SOFTTOKEN_INSTALLED).lexically_normal();
}

// The loader would take the directory for several, or for another one.
void _require_searchable(const std::string& directory) {
    const char* sign = nullptr;
    if (directory.find(':') != std::string::npos) sign = "a colon";
    if (directory.find(';') != std::string::npos) sign = "a semicolon";
    for (const char* token :
         {"$ORIGIN", "${ORIGIN}", "$PLATFORM", "${PLATFORM}", "$LIB", "${LIB}"}) {
        if (directory.find(token) != std::string::npos) sign = token;
    }
    if (sign == nullptr) return;
    throw command_failure(exit_cannot_run,
                          "the path of the software token, " + directory + ", has " + sign +
                              ", which LD_LIBRARY_PATH cannot hold: move it to another directory");
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

// Comes back with errno when that cannot be.
void _become(const std::string& program, const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
}

// A text that names no interpreter.
void _become_shell(const std::string& program, const std::vector<std::string>& words,
                   const std::string& library) {
    const std::string shell = "/bin/sh";
    _refuse_other_library(shell, library);
    std::vector<std::string> all{shell, program};
    all.insert(all.end(), words.begin() + 1, words.end());
    _become(shell, all);
}

void _exec(const std::vector<std::string>& words) {
    std::filesystem::path directory = _library_directory();
    std::filesystem::path library = directory / "libvemra_crypto.so.1";
    if (!std::filesystem::exists(library)) {
        throw command_failure(exit_cannot_run,
                              library.string() + " is missing: install the software token whole");
    }
    _require_searchable(directory);
    std::string program = find_program(words.front());
    _prefer_directory(directory);
    std::string file = loaded_file(program);
    _refuse_privileged(file);
    _refuse_other_library(file, library);
    interruption::give_back();
    give_back_signals();
    _become(program, words);
    if (errno == ENOEXEC && is_shell_text(program)) _become_shell(program, words, library);
    if (errno == ENOENT) {
        throw command_failure(exit_not_found,
                              program + " cannot be run: its interpreter or loader is missing");
    }
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
