#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "token_fixture.h"

using namespace softtoken_test;

namespace {

// The admin tool on a terminal of its own.
class terminal {
public:
    explicit terminal(const std::string& arguments) {
        child_ = forkpty(&master_, nullptr, nullptr, nullptr);
        if (child_ != 0) return;
        // Whoever starts tests in the background may have them ignore it.
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGTSTP, SIG_DFL);
        std::string command = "exec " SOFTTOKEN_TOOL " " + arguments;
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    ~terminal() { close(master_); }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;

    // Types the line once the text has appeared; false when the program ended without it.
    bool type_after(const std::string& text, const std::string& line) {
        return press_after(text, line + "\n");
    }
    bool press_after(const std::string& text, const std::string& keys) {
        while (shown_.find(text) == std::string::npos) {
            if (!read_more()) return false;
        }
        return write(master_, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
    }

    bool is_stopped() const {
        int status = 0;
        return waitpid(child_, &status, WUNTRACED) == child_ && WIFSTOPPED(status);
    }
    // What was shown before is forgotten.
    void go_on() {
        shown_.clear();
        kill(child_, SIGCONT);
    }

    int exit_status() {
        while (read_more()) {
        }
        int status = 0;
        waitpid(child_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    const std::string& shown() const { return shown_; }

    bool shows_what_is_typed() const {
        termios state{};
        return tcgetattr(master_, &state) == 0 && (state.c_lflag & ECHO) != 0;
    }

private:
    bool read_more() {
        std::array<char, 256> part{};
        ssize_t got = read(master_, part.data(), part.size());
        if (got > 0) shown_.append(part.data(), static_cast<std::size_t>(got));
        return got > 0;
    }

    int master_ = -1;
    pid_t child_ = 0;
    std::string shown_;
};

}  // namespace

class softtoken_prompt : public token_test {};

// The terminal stops showing input before the prompt appears, so nothing typed is ever shown.
TEST_F(softtoken_prompt, typed_password_is_set_and_not_shown) {
    terminal screen("create one --password-cost 1");
    ASSERT_TRUE(screen.type_after("password of the new token: ", "typed secret"));
    ASSERT_TRUE(screen.type_after("password of the new token, again: ", "typed secret"));
    EXPECT_EQ(screen.exit_status(), 0);
    EXPECT_EQ(screen.shown().find("secret"), std::string::npos) << screen.shown();
    EXPECT_EQ(log_in(device_at().get(), "typed secret"), 1);
}

TEST_F(softtoken_prompt, differing_entries_change_nothing) {
    terminal screen("create one --password-cost 1");
    ASSERT_TRUE(screen.type_after("password of the new token: ", "typed secret"));
    ASSERT_TRUE(screen.type_after("password of the new token, again: ", "other secret"));
    EXPECT_EQ(screen.exit_status(), 2);
    EXPECT_NE(screen.shown().find("the two entries differ"), std::string::npos);
    EXPECT_EQ(attached_count(), 0);
}

TEST_F(softtoken_prompt, interrupted_prompt_leaves_a_terminal_that_shows_what_is_typed) {
    terminal screen("create one --password-cost 1");
    ASSERT_TRUE(screen.press_after("password of the new token: ", "half of it\x03"));
    EXPECT_EQ(screen.exit_status(), 130);
    EXPECT_TRUE(screen.shows_what_is_typed());
    EXPECT_EQ(attached_count(), 0);
}

TEST_F(softtoken_prompt, interrupted_prompt_ends_its_line) {
    terminal screen("create one --password-cost 1");
    ASSERT_TRUE(screen.press_after("password of the new token: ", "half of it\x03"));
    EXPECT_EQ(screen.exit_status(), 130);
    EXPECT_EQ(screen.shown(), "password of the new token: \r\n");
}

TEST_F(softtoken_prompt, stopped_prompt_leaves_a_terminal_that_shows_what_is_typed) {
    terminal screen("create one --password-cost 1");
    ASSERT_TRUE(screen.press_after("password of the new token: ", "half of it\x1a"));
    ASSERT_TRUE(screen.is_stopped());
    EXPECT_TRUE(screen.shows_what_is_typed());
    screen.go_on();
    ASSERT_TRUE(screen.press_after("password of the new token: ", "\x03"));
    EXPECT_EQ(screen.exit_status(), 130);
}

TEST_F(softtoken_prompt, prompt_that_was_stopped_asks_again_and_forgets_what_was_typed) {
    terminal screen("create one --password-cost 1");
    ASSERT_TRUE(screen.press_after("password of the new token: ", "half of it\x1a"));
    ASSERT_TRUE(screen.is_stopped());
    ASSERT_TRUE(screen.type_after("", "typed to nobody"));
    ASSERT_TRUE(screen.press_after("typed to nobody\r\n", ""));
    screen.go_on();
    ASSERT_TRUE(screen.press_after("password of the new token: ", ""));
    EXPECT_FALSE(screen.shows_what_is_typed());
    ASSERT_TRUE(screen.type_after("password of the new token: ", "typed secret"));
    ASSERT_TRUE(screen.type_after("password of the new token, again: ", "typed secret"));
    EXPECT_EQ(screen.exit_status(), 0) << screen.shown();
    EXPECT_EQ(log_in(device_at().get(), "typed secret"), 1);
}
