#include "admin/loaded_library.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <sstream>
#include <string_view>

#include "admin/arguments.h"
#include "admin/elf_file.h"
#include "command_line/interruption.h"

namespace vemra::softtoken::admin {

namespace {

constexpr const char* device_library_name = "libvemra_crypto.so.1";

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
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals = interruption::mask_before();
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    int failed =
        posix_spawn(&child, loader.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string text = failed == 0 ? _read_all(ends[0]) : std::string();
    close(ends[0]);
    if (failed == 0) waitpid(child, nullptr, 0);
    return text;
}

// "NAME => PATH (ADDRESS)" or "PATH (ADDRESS)", where blanks and arrows may be in the path too.
std::string _path_in(const std::string& line) {
    constexpr std::string_view arrow = " => ";
    std::size_t begin = line.find_first_not_of('\t');
    std::size_t end = line.rfind(" (0x");
    if (begin == std::string::npos || end == std::string::npos || end < begin) return {};
    std::string path = line.substr(begin, end - begin);
    std::error_code error;
    for (std::size_t cut = 0; !std::filesystem::exists(path, error);) {
        cut = path.find(arrow);
        if (cut == std::string::npos) break;
        path.erase(0, cut + arrow.size());
    }
    return path;
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
    elf_facts facts = read_elf(program);
    if (facts.loader.empty()) return std::nullopt;
    std::istringstream lines(_list_libraries(facts.loader, program));
    for (std::string line; std::getline(lines, line);) {
        std::string path = _path_in(line);
        if (_is_other(path, wanted)) return path;
    }
    return std::nullopt;
}

}  // namespace vemra::softtoken::admin
