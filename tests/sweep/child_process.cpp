#include "sweep/child_process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>

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

}  // namespace

child_end in_child(const std::function<std::string()>& work) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) return {};
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        _write_all(ends[1], work());
        std::fflush(nullptr);
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    close(ends[1]);
    child_end end;
    end.told = _read_all(ends[0]);
    close(ends[0]);
    int state = 0;
    waitpid(child, &state, 0);
    if (WIFEXITED(state)) end.status = WEXITSTATUS(state);
    return end;
}
