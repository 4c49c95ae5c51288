#include "command_line/hardening.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace vemra {

namespace {

using handler = void (*)(int);

constexpr std::array<int, 2> failed_writes{SIGPIPE, SIGXFSZ};
std::array<handler, failed_writes.size()> _before{SIG_DFL, SIG_DFL};

// The other way round than they are used.
void _fill_closed_descriptors() {
    constexpr int flags[] = {O_WRONLY, O_RDONLY, O_WRONLY};
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(number, F_GETFD) >= 0) continue;
        if (open("/dev/null", flags[number] | O_CLOEXEC) != number) return;
    }
}

}  // namespace

void harden() {
    prctl(PR_SET_DUMPABLE, 0);
    for (std::size_t i = 0; i < failed_writes.size(); ++i)
        _before[i] = std::signal(failed_writes[i], SIG_IGN);
    _fill_closed_descriptors();
}

void give_back_signals() {
    for (std::size_t i = 0; i < failed_writes.size(); ++i)
        std::signal(failed_writes[i], _before[i]);
}

}  // namespace vemra
