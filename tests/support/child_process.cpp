#include "support/child_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <stdexcept>

namespace {

void _write_all(int file, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t wrote = write(file, text.data() + done, text.size() - done);
        if (wrote <= 0) _exit(1);
        done += static_cast<std::size_t>(wrote);
    }
}

std::string _read_all(int file) {
    std::string text;
    std::array<char, 4096> part;
    for (;;) {
        const ssize_t got = read(file, part.data(), part.size());
        if (got <= 0) return text;
        text.append(part.data(), static_cast<std::size_t>(got));
    }
}

bool _read_sign(int file) {
    char sign = 0;
    return read(file, &sign, 1) == 1;
}

bool _be_waiting(int channel, const std::function<child_work()>& get_ready) {
    const child_work work = get_ready();
    _write_all(channel, "!");
    if (!_read_sign(channel)) return false;
    _write_all(channel, work());
    return !::testing::Test::HasFailure();
}

std::pair<int, int> _new_channel() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no channel to a child process");
    }
    return {ends[0], ends[1]};
}

// An exception must not bring the child back into the tests of its parent.
[[noreturn]] void _do(const std::function<bool()>& work) noexcept {
    const bool is_good = work();
    std::fflush(nullptr);
    _exit(is_good ? 0 : 1);
}

}  // namespace

child_process::child_process(const std::function<bool()>& work) {
    std::fflush(nullptr);
    id_ = fork();
    if (id_ == -1) throw std::runtime_error("no child process");
    if (id_ == 0) _do(work);
}

void child_process::signal(int number) const {
    kill(id_, number);
}

bool child_process::has_ended() const {
    siginfo_t state{};
    waitid(P_PID, static_cast<id_t>(id_), &state, WEXITED | WNOHANG | WNOWAIT);
    return state.si_pid == id_;
}

void child_process::end() {
    if (id_ == -1) return;
    signal(SIGKILL);
    await();
}

int child_process::await() {
    int state = -1;
    waitpid(std::exchange(id_, -1), &state, 0);
    return state;
}

waiting_child::waiting_child(const std::function<child_work()>& get_ready)
    : waiting_child(_new_channel(), get_ready) {}

waiting_child::waiting_child(std::pair<int, int> ends, const std::function<child_work()>& get_ready)
    : channel_(ends.first), child_([&] {
          close(ends.first);
          return _be_waiting(ends.second, get_ready);
      }) {
    close(ends.second);
    is_ready_ = _read_sign(channel_);
}

waiting_child::~waiting_child() {
    close(channel_);
}

child_end waiting_child::work() {
    static_cast<void>(send(channel_, "!", 1, MSG_NOSIGNAL));
    std::string told = _read_all(channel_);
    const int state = child_.await();
    return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, std::move(told)};
}

child_end in_child(const child_work& work) {
    return waiting_child([&] { return work; }).work();
}
