#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "sweep/tokens.h"

namespace {

/** A directory for the tokens of this process, removed with it. */
class token_directory {
public:
    token_directory() {
        std::string name = std::filesystem::temp_directory_path() / "sweep-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
        path_ = name;
        owner_ = getpid();
        setenv("VEMRA_SOFTTOKEN_DIR", path_.c_str(), 1);
    }
    ~token_directory() {
        if (owner_ == getpid()) std::filesystem::remove_all(path_);
    }
    token_directory(const token_directory&) = delete;
    token_directory& operator=(const token_directory&) = delete;

    std::filesystem::path path() const { return path_; }

private:
    std::filesystem::path path_;
    pid_t owner_;
};

void _run(const std::vector<std::string>& command) {
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> arguments;
        for (const std::string& word : command)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        static_cast<void>(!std::freopen("/dev/null", "w", stdout));
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int state = 0;
    if (waitpid(child, &state, 0) != child || state != 0) {
        throw std::runtime_error("failed: " + command[0] + " " + command[1]);
    }
}

}  // namespace

std::vector<token> make_tokens(int count) {
    static const token_directory directory;
    static int type = 0;
    for (const auto& old : std::filesystem::directory_iterator(directory.path()))
        std::filesystem::remove_all(old);
    const std::filesystem::path password = directory.path() / ".password";
    std::ofstream(password) << "12345678\n";

    std::vector<token> result;
    for (int i = 0; i < count; ++i) {
        ++type;
        const std::string number = std::to_string(type);
        result.push_back({"T-" + number, type});
        _run({VEMRA_SOFTTOKEN_TOOL, "create", "token-" + number, "--serial", "T-" + number,
              "--type", number, "--login", "none", "--password-cost", "4", "--password-file",
              password.string()});
    }
    return result;
}
