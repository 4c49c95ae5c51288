#include "admin/loaded_library.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "admin/arguments.h"
#include "admin/elf_file.h"

namespace vemra::softtoken::admin {

namespace {

constexpr const char* device_library_name = "libvemra_crypto.so.1";

std::string _interpreter_of_script(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (!std::getline(file, line) || line.rfind("#!", 0) != 0) return {};
    std::istringstream words(line.substr(2));
    std::string interpreter;
    words >> interpreter;
    return interpreter;
}

std::string _read_all(int descriptor) {
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t got = 0; (got = read(descriptor, part.data(), part.size())) > 0;) {
        text.append(part.data(), static_cast<std::size_t>(got));
    }
    return text;
}

// What "LOADER --list PROGRAM" prints: one line for each library that the program needs.
std::string _list_libraries(const std::string& loader, const std::string& program) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw command_failure(exit_failed, "cannot make a pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    std::string list = "--list";
    std::array<char*, 4> arguments{const_cast<char*>(loader.c_str()), list.data(),
                                   const_cast<char*>(program.c_str()), nullptr};
    pid_t child = 0;
    int failed = posix_spawn(&child, loader.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string text = failed == 0 ? _read_all(ends[0]) : std::string();
    close(ends[0]);
    if (failed == 0) waitpid(child, nullptr, 0);
    return text;
}

// "NAME => PATH (ADDRESS)" or "PATH (ADDRESS)".
std::string _path_in(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    std::string last;
    while (words >> word && word.rfind("(0x", 0) != 0)
        last = word;
    return last;
}

bool _is_other(const std::string& path, const std::string& wanted) {
    if (path.find('/') == std::string::npos) return false;
    bool named = std::filesystem::path(path).filename() == device_library_name ||
                 read_elf(path).soname == device_library_name;
    std::error_code error;
    return named && !std::filesystem::equivalent(path, wanted, error);
}

}  // namespace

std::optional<std::string> other_device_library(const std::string& program,
                                                const std::string& wanted) {
    std::string binary = program;
    if (std::string interpreter = _interpreter_of_script(program); !interpreter.empty()) {
        binary = interpreter;
    }
    elf_facts facts = read_elf(binary);
    if (facts.loader.empty()) return std::nullopt;
    std::istringstream lines(_list_libraries(facts.loader, binary));
    for (std::string line; std::getline(lines, line);) {
        std::string path = _path_in(line);
        if (_is_other(path, wanted)) return path;
    }
    return std::nullopt;
}

}  // namespace vemra::softtoken::admin
