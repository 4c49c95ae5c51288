#include "process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace end_to_end {

namespace {

std::vector<char*> _pointers(const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::string _name_of(const std::string& variable) {
    return variable.substr(0, variable.find('=') + 1);
}

std::vector<std::string> _environment_with(const std::vector<std::string>& added) {
    std::vector<std::string> result = added;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string present = *variable;
        bool is_replaced = false;
        for (const std::string& one : added) {
            if (_name_of(one) == _name_of(present)) is_replaced = true;
        }
        if (!is_replaced) result.push_back(present);
    }
    return result;
}

std::string _new_folder(const std::string& parent) {
    std::string pattern = parent + "/process.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), pattern);
    }
    return pattern;
}

}  // namespace

process::process(const std::string& folder, const std::vector<std::string>& command,
                 const std::string& input, const std::vector<std::string>& environment)
    : folder_(_new_folder(folder)) {
    write_file(folder_ + "/input", input);
    const std::vector<std::string> variables = _environment_with(environment);
    const int write_new = O_WRONLY | O_CREAT | O_EXCL;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, (folder_ + "/input").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, (folder_ + "/output").c_str(), write_new, 0600);
    posix_spawn_file_actions_addopen(&files, 2, (folder_ + "/errors").c_str(), write_new, 0600);
    const int result = posix_spawnp(&id_, command.front().c_str(), &files, nullptr,
                                    _pointers(command).data(), _pointers(variables).data());
    posix_spawn_file_actions_destroy(&files);
    if (result != 0) {
        id_ = -1;
        throw std::system_error(result, std::generic_category(), command.front());
    }
}

process::~process() {
    if (id_ != -1) waitpid(id_, nullptr, 0);
}

bool process::has_ended() const {
    siginfo_t state = {};
    const int result = waitid(P_PID, static_cast<id_t>(id_), &state, WEXITED | WNOHANG | WNOWAIT);
    if (result != 0) throw std::system_error(errno, std::generic_category(), "waitid");
    return state.si_pid == id_;
}

outcome process::wait() {
    int status = 0;
    while (waitpid(id_, &status, 0) < 0) {
        if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    id_ = -1;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, read_file(folder_ + "/output"), read_file(folder_ + "/errors")};
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace end_to_end
