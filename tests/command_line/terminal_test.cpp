#include "command_line/terminal.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "command_line/descriptor.h"

using namespace vemra;

class terminal_question : public testing::Test {
protected:
    terminal_question() {
        int person = -1;
        int program = -1;
        if (openpty(&person, &program, nullptr, nullptr, nullptr) != 0) std::abort();
        person_ = descriptor(person);
        program_ = descriptor(program);
    }
    bool echoes() const {
        termios state{};
        return tcgetattr(program_.get(), &state) == 0 && (state.c_lflag & ECHO) != 0;
    }
    void silence(bool silent) const {
        termios state{};
        tcgetattr(program_.get(), &state);
        if (silent) state.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(program_.get(), TCSANOW, &state);
    }
    // Types once the question has appeared, from a child, while the test asks.
    pid_t type_after(const std::string& question, const std::string& typed) const {
        pid_t child = fork();
        if (child != 0) return child;
        std::string shown;
        std::array<char, 64> part{};
        while (shown.find(question) == std::string::npos) {
            ssize_t got = read(person_.get(), part.data(), part.size());
            if (got <= 0) _exit(1);
            shown.append(part.data(), static_cast<std::size_t>(got));
        }
        _exit(echoes() || !write_all(person_.get(), typed) ? 1 : 0);
    }
    static bool ended_well(pid_t child) {
        int status = 0;
        return waitpid(child, &status, 0) == child && status == 0;
    }
    int terminal_of_program() const { return program_.get(); }

private:
    descriptor person_;
    descriptor program_;
};

TEST_F(terminal_question, secret_is_read_without_echo_which_comes_back) {
    pid_t person = type_after("password: ", "typed secret\nmore");
    secret answer;
    EXPECT_TRUE(ask_secret_on(terminal_of_program(), "password", answer));
    EXPECT_EQ(answer.view(), "typed secret");
    EXPECT_TRUE(ended_well(person));
    EXPECT_TRUE(echoes());
}

TEST_F(terminal_question, terminal_that_did_not_echo_stays_so) {
    silence(true);
    pid_t person = type_after("password: ", "typed secret\n");
    secret answer;
    EXPECT_TRUE(ask_secret_on(terminal_of_program(), "password", answer));
    EXPECT_TRUE(ended_well(person));
    EXPECT_FALSE(echoes());
}

TEST_F(terminal_question, end_of_input_is_no_answer) {
    pid_t person = type_after("password: ", "\x04");
    secret answer;
    EXPECT_FALSE(ask_secret_on(terminal_of_program(), "password", answer));
    EXPECT_TRUE(ended_well(person));
}

TEST_F(terminal_question, what_is_no_terminal_cannot_be_asked) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    descriptor reading(ends[0]);
    descriptor writing(ends[1]);
    secret answer;
    EXPECT_THROW(ask_secret_on(reading.get(), "password", answer), std::runtime_error);
}
