#include "command_line/interruption.h"

#include <signal.h>
#include <unistd.h>

#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace vemra::interruption {

namespace {

struct state {
    std::mutex mutex;
    int holds = 0;
    bool pending = false;
    bool stop_wanted = false;
    std::optional<std::pair<int, termios>> terminal;
    std::string temporary;
    sigset_t taken{};
    sigset_t before{};
};

// Never destroyed: the thread may look at it until the process is gone.
state& _state() {
    static state& the_state = *new state;
    return the_state;
}

sigset_t _taken_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) {
        struct sigaction present {};
        const bool is_ignored =
            sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
        if (!is_ignored) sigaddset(&signals, number);
    }
    return signals;
}

[[noreturn]] void _end(const state& now) {
    if (now.terminal) tcsetattr(now.terminal->first, TCSANOW, &now.terminal->second);
    if (!now.temporary.empty()) unlink(now.temporary.c_str());
    _exit(interrupted_status);
}

void _take_signals() {
    state& now = _state();
    for (;;) {
        int number = 0;
        if (sigwait(&now.taken, &number) != 0) continue;
        const std::lock_guard lock(now.mutex);
        if (number == SIGTSTP) {
            // Stopping in a prompt would leave the user's terminal without echo.
            if (now.holds > 0)
                now.stop_wanted = true;
            else if (!now.terminal)
                kill(getpid(), SIGSTOP);
        } else if (now.holds > 0) {
            now.pending = true;
        } else {
            _end(now);
        }
    }
}

}  // namespace

void start() {
    state& now = _state();
    now.taken = _taken_signals();
    pthread_sigmask(SIG_BLOCK, &now.taken, &now.before);
    std::thread(_take_signals).detach();
}

void give_back() {
    pthread_sigmask(SIG_SETMASK, &_state().before, nullptr);
}

bool is_pending() {
    const std::lock_guard lock(_state().mutex);
    return _state().pending;
}

hold::hold() {
    const std::lock_guard lock(_state().mutex);
    ++_state().holds;
}

hold::~hold() {
    const std::lock_guard lock(_state().mutex);
    if (--_state().holds > 0) return;
    if (std::exchange(_state().stop_wanted, false)) kill(getpid(), SIGSTOP);
}

terminal_settings::terminal_settings(int descriptor, const termios& original)
    : descriptor_(descriptor), original_(original) {
    const std::lock_guard lock(_state().mutex);
    _state().terminal = {descriptor, original};
}

terminal_settings::~terminal_settings() {
    const std::lock_guard lock(_state().mutex);
    tcsetattr(descriptor_, TCSAFLUSH, &original_);
    _state().terminal.reset();
}

temporary_file::temporary_file(const std::string& path) {
    const std::lock_guard lock(_state().mutex);
    _state().temporary = path;
}

temporary_file::~temporary_file() {
    const std::lock_guard lock(_state().mutex);
    unlink(_state().temporary.c_str());
    _state().temporary.clear();
}

sigset_t mask_before() {
    return _state().before;
}

sigset_t ignored_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    sigaddset(&signals, SIGXFSZ);
    return signals;
}

}  // namespace vemra::interruption
