#include "sweep/child_process.h"

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

[[noreturn]] void _be_child(int channel, const std::function<child_work()>& get_ready) {
    const child_work work = get_ready();
    _write_all(channel, "!");
    if (!_read_sign(channel)) _exit(1);
    _write_all(channel, work());
    std::fflush(nullptr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
}

child_end _end_of(pid_t child, std::string told) {
    int state = 0;
    waitpid(child, &state, 0);
    return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, std::move(told)};
}

}  // namespace

waiting_child::waiting_child(const std::function<child_work()>& get_ready) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no channel to a child process");
    }
    std::fflush(nullptr);
    child_ = fork();
    if (child_ == 0) {
        close(ends[0]);
        _be_child(ends[1], get_ready);
    }
    close(ends[1]);
    channel_ = ends[0];
    is_ready_ = _read_sign(channel_);
}

waiting_child::~waiting_child() {
    close(channel_);
    if (child_ <= 0) return;
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
}

child_end waiting_child::work() {
    static_cast<void>(send(channel_, "!", 1, MSG_NOSIGNAL));
    std::string told = _read_all(channel_);
    return _end_of(std::exchange(child_, -1), std::move(told));
}

child_end in_child(const child_work& work) {
    return waiting_child([&] { return work; }).work();
}
