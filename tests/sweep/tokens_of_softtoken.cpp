#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "sweep/tokens.h"

namespace {

// What a process leaves when it ends is the same on a disk, where each change would wait for it.
std::filesystem::path _quick_directory() {
    const char* memory = "/dev/shm";
    const bool is_free = std::getenv("TMPDIR") == nullptr && access(memory, W_OK) == 0;
    return is_free ? memory : std::filesystem::temp_directory_path();
}

/** A directory for the tokens of this process, removed with it. */
class token_directory {
public:
    token_directory() {
        std::string name = _quick_directory() / "sweep-XXXXXX";
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

std::filesystem::path _directory() {
    static const token_directory directory;
    return directory.path();
}

/** What the admin tool says when it fails; nothing when all went well. */
std::string _complaint_of(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VEMRA_SOFTTOKEN_TOOL);
    std::vector<char*> words;
    for (std::string& word : arguments)
        words.push_back(word.data());
    words.push_back(nullptr);

    const std::filesystem::path said = _directory() / ".said";
    const pid_t child = fork();
    if (child == 0) {
        static_cast<void>(!std::freopen(said.c_str(), "w", stdout));
        dup2(STDOUT_FILENO, STDERR_FILENO);
        execv(words[0], words.data());
        _exit(127);
    }
    int state = -1;
    waitpid(child, &state, 0);
    if (state == 0) return {};
    std::stringstream text;
    text << arguments[1] << ": state " << state << ": " << std::ifstream(said).rdbuf();
    return text.str();
}

}  // namespace

std::vector<token> make_tokens(int count) {
    static int type = 0;
    for (const auto& old : std::filesystem::directory_iterator(_directory()))
        std::filesystem::remove_all(old);
    const std::filesystem::path password = _directory() / ".password";
    std::ofstream(password) << token_password << '\n';

    std::vector<token> result;
    for (int i = 0; i < count; ++i) {
        ++type;
        const std::string number = std::to_string(type);
        result.push_back({"T-" + number, type});
        const std::string complaint = _complaint_of(
            {"create", "token-" + number, "--serial", "T-" + number, "--type", number, "--login",
             "none", "--password-cost", "4", "--password-file", password.string()});
        if (!complaint.empty()) throw std::runtime_error(complaint);
    }
    return result;
}

std::string unsound_files() {
    return _complaint_of({"fsck"});
}
