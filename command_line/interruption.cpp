#include "command_line/interruption.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace vemra::interruption {

namespace {

struct changed_terminal {
    int descriptor;
    termios original;
    int stop; /* An eventfd that tells whoever waits for an answer to stop. */
};

struct state {
    std::mutex mutex;
    int holds = 0;
    bool pending = false;
    bool stop_wanted = false;
    std::optional<changed_terminal> terminal;
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
    if (now.terminal) {
        tcsetattr(now.terminal->descriptor, TCSANOW, &now.terminal->original);
        // What a shell shows next begins a line.
        write_all(now.terminal->descriptor, "\n");
    }
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
            if (now.holds > 0)
                now.stop_wanted = true;
            else if (now.terminal)
                eventfd_write(now.terminal->stop, 1);
            else
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

terminal_settings::terminal_settings(int descriptor, const termios& original, const termios& wanted,
                                     const std::string& question)
    : terminal_(descriptor),
      original_(original),
      wanted_(wanted),
      question_(question),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    const std::lock_guard lock(_state().mutex);
    _state().terminal = {terminal_, original_, stop_.get()};
    tcsetattr(terminal_, TCSAFLUSH, &wanted_);
}

terminal_settings::~terminal_settings() {
    {
        const std::lock_guard lock(_state().mutex);
        tcsetattr(terminal_, TCSAFLUSH, &original_);
        _state().terminal.reset();
    }
    if (is_to_stop()) raise(SIGSTOP);
}

bool terminal_settings::is_to_stop() const {
    eventfd_t times = 0;
    return eventfd_read(stop_.get(), &times) == 0;
}

// By the thread that would read: no other one takes what is typed meanwhile for the answer.
void terminal_settings::stop() const {
    tcsetattr(terminal_, TCSANOW, &original_);
    raise(SIGSTOP);
    tcsetattr(terminal_, TCSAFLUSH, &wanted_);
    write_all(terminal_, question_);
}

bool terminal_settings::wait_for_answer() const {
    for (bool was_stopped = false;; was_stopped = true) {
        std::array<pollfd, 2> both{{{terminal_, POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
        while (poll(both.data(), both.size(), -1) < 0 && errno == EINTR) {
        }
        if (!is_to_stop()) return was_stopped;
        stop();
    }
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
