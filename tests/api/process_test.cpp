// What standard output and cancellation can do to the process that calls the library.

#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "api/api_test.h"

namespace {

/** Standard output becomes a pipe that nobody reads. */
void close_the_reader() {
    int ends[2];
    if (pipe(ends) != 0) std::_Exit(99);
    std::fflush(stdout);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void call_without_a_reader(void (*disposition)(int)) {
    std::signal(SIGPIPE, disposition);
    close_the_reader();
    const int status = VemraAppStampFreeMemory(nullptr);
    std::_Exit(status == -2 ? 7 : 99);
}

TEST(process_DeathTest, is_ended_by_a_trace_that_nobody_reads) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(call_without_a_reader(SIG_DFL), testing::KilledBySignal(SIGPIPE), "");
}

TEST(process_DeathTest, that_ignores_the_signal_of_a_broken_pipe_loses_the_lines_alone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(call_without_a_reader(SIG_IGN), testing::ExitedWithCode(7), "");
}

/** A program without a standard output opens a file, which gets number 1, and calls the library. */
void call_without_standard_output() {
    std::fflush(stdout);
    close(STDOUT_FILENO);
    char path[] = "/tmp/vemra-no-output.XXXXXX";
    const int file = mkstemp(path);
    unlink(path);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    VemraAppStampDeleteStamp(nullptr, 0, "the password");
    char text[4096] = {};
    if (file != STDOUT_FILENO || pread(file, text, sizeof(text) - 1, 0) <= 0) std::_Exit(99);
    std::fputs(text, stderr);
    std::_Exit(0);
}

TEST(process_DeathTest, without_a_standard_output_has_the_trace_in_the_next_file_it_opens) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(call_without_standard_output(), testing::ExitedWithCode(0),
                "Input `password` : the password");
}

/** Bytes that wait in a pipe. */
int waiting_in(int pipe_end) {
    int count = 0;
    ioctl(pipe_end, FIONREAD, &count);
    return count;
}

void* call_once(void*) {
    VemraAppStampGetVersion();
    return nullptr;
}

/** Nobody reads the pipe, and it has room for the first line of the call alone. */
void cancel_a_thread_that_writes_its_exit_line() {
    constexpr int room_for_one_line = 100;
    int ends[2];
    if (pipe(ends) != 0) std::_Exit(99);
    const int filled = fcntl(ends[1], F_SETPIPE_SZ, 4096) - room_for_one_line;
    const std::string filling(static_cast<std::size_t>(filled), '.');
    if (write(ends[1], filling.data(), filling.size()) != filled) std::_Exit(98);
    std::fflush(stdout);
    dup2(ends[1], STDOUT_FILENO);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);

    alarm(20);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, call_once, nullptr) != 0) std::_Exit(97);
    while (waiting_in(ends[0]) == filled)
        usleep(1000);
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
    std::_Exit(0);
}

TEST(process_DeathTest, is_ended_by_the_cancellation_of_a_thread_inside_a_call) {
    if (std::string_view(SANITIZERS) == "thread")
        GTEST_SKIP() << "the sanitizer keeps a process from ending while a thread is cancelled";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(cancel_a_thread_that_writes_its_exit_line(), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
