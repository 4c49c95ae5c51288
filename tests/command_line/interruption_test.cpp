#include "command_line/interruption.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <string>

using namespace vemra;

namespace {

/* How a child ends that takes signals as the programs do: its exit status, or minus a signal. */
int end_of(const std::function<void()>& body) {
    pid_t child = fork();
    if (child == 0) {
        interruption::start();
        body();
        _exit(7);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void wait_long_enough() {
    usleep(20 * 1000 * 1000);
}

}  // namespace

TEST(interruption, signal_ends_the_program_with_its_status) {
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        EXPECT_EQ(end_of([number] {
                      kill(getpid(), number);
                      wait_long_enough();
                  }),
                  interruption::interrupted_status);
    }
}

TEST(interruption, signal_waits_for_a_hold) {
    EXPECT_EQ(end_of([] {
                  const interruption::hold held;
                  kill(getpid(), SIGTERM);
                  while (!interruption::is_pending())
                      usleep(1000);
              }),
              7);
}

TEST(interruption, ignored_signal_stays_ignored) {
    std::signal(SIGHUP, SIG_IGN);
    const int end = end_of([] {
        kill(getpid(), SIGHUP);
        usleep(100 * 1000);
    });
    std::signal(SIGHUP, SIG_DFL);
    EXPECT_EQ(end, 7);
}

TEST(interruption, temporary_file_goes_with_the_program) {
    const std::string path = testing::TempDir() + "temporary." + std::to_string(getpid());
    std::ofstream(path) << "half";
    EXPECT_EQ(end_of([&path] {
                  const interruption::temporary_file unfinished(path);
                  kill(getpid(), SIGINT);
                  wait_long_enough();
              }),
              interruption::interrupted_status);
    EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST(interruption, signals_given_back_end_the_program_by_themselves) {
    EXPECT_EQ(end_of([] {
                  interruption::give_back();
                  kill(getpid(), SIGTERM);
                  wait_long_enough();
              }),
              -SIGTERM);
}
