// The crash handler, in child processes whose standard output is a pipe.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "api/api_test.h"
#include "support/child_process.h"

#if defined(__SANITIZE_THREAD__)
#define HAS_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define HAS_THREAD_SANITIZER 1
#endif
#endif
#ifdef HAS_THREAD_SANITIZER
// The handler builds and prints its line like any other, which no signal handler should do.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "signal:segment_fault_signal_handler\n";
}
#endif

namespace {

/** A child process that runs the work with its lines unbuffered. */
class printing_child {
public:
    explicit printing_child(const std::function<void()>& work)
        : output_(new_pipe()), child_([&] {
              dup2(ends_[1], STDOUT_FILENO);
              std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
              work();
              return true;
          }) {
        close(ends_[1]);
    }
    ~printing_child() { std::fclose(output_); }
    printing_child(const printing_child&) = delete;
    printing_child& operator=(const printing_child&) = delete;

    /** The next line, normalised; empty at the end. */
    std::string line() {
        char buffer[512];
        if (std::fgets(buffer, sizeof(buffer), output_) == nullptr) return {};
        std::string text = buffer;
        if (!text.empty() && text.back() == '\n') text.pop_back();
        return normalised_line(text);
    }
    void kill_it() { child_.signal(SIGKILL); }
    int wait_status() { return child_.await(); }

private:
    std::FILE* new_pipe() {
        EXPECT_EQ(pipe(ends_), 0);
        return fdopen(ends_[0], "r");
    }

    int ends_[2];
    std::FILE* output_;
    child_process child_;
};

std::string fatal_line(int number) {
    return " [FATAL]    [segment_fault_signal_handler] Segment fault, signal: " +
           std::to_string(number) + ". (src/core/crash_handler.cpp:N)";
}

void fault_for_ever() {
    VemraAppStampEnvInitialize(nullptr);
    void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}

TEST(crash_handler, abort_prints_the_line_once_and_the_process_ends) {
    printing_child child([] {
        VemraAppStampEnvInitialize(nullptr);
        std::abort();
    });
    EXPECT_EQ(child.line(), fatal_line(SIGABRT));
    EXPECT_EQ(child.line(), "");
    const int status = child.wait_status();
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
}

TEST(crash_handler, a_real_fault_repeats_because_the_handler_returns) {
    printing_child child(fault_for_ever);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(child.line(), fatal_line(SIGSEGV));
    child.kill_it();
    EXPECT_EQ(WTERMSIG(child.wait_status()), SIGKILL);
}

TEST(crash_handler, a_raised_signal_is_survived) {
    for (const int number : {SIGILL, SIGSEGV, SIGABRT}) {
        printing_child child([number] {
            VemraAppStampEnvInitialize(nullptr);
            std::raise(number);
            std::puts("still here");
        });
        EXPECT_EQ(child.line(), fatal_line(number));
        EXPECT_EQ(child.line(), "still here");
        EXPECT_EQ(child.line(), "");
        EXPECT_EQ(child.wait_status(), 0);
    }
}

TEST(crash_handler, stays_installed_after_uninitialize) {
    printing_child child([] {
        VemraAppStampEnvUninitialize(VemraAppStampEnvInitialize(nullptr));
        std::raise(SIGILL);
    });
    EXPECT_EQ(child.line(), fatal_line(SIGILL));
    EXPECT_EQ(child.wait_status(), 0);
}

TEST(crash_handler, every_initialize_installs_it_again) {
    printing_child child([] {
        VemraAppStampEnvInitialize(nullptr);
        for (const int number : {SIGILL, SIGSEGV, SIGABRT})
            std::signal(number, SIG_IGN);
        VemraAppStampEnvInitialize(nullptr);
        for (const int number : {SIGILL, SIGSEGV, SIGABRT})
            std::raise(number);
    });
    for (const int number : {SIGILL, SIGSEGV, SIGABRT}) {
        EXPECT_EQ(child.line(), fatal_line(number));
    }
    EXPECT_EQ(child.wait_status(), 0);
}

TEST(crash_handler, no_other_call_and_no_load_installs_it) {
    printing_child child([] {
        std::freopen("/dev/null", "w", stdout);
        VemraAppStampGetVersion();
        VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
        struct sigaction present;
        sigaction(SIGILL, nullptr, &present);
        _exit(present.sa_handler == SIG_DFL ? 7 : 8);
    });
    const int status = child.wait_status();
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

}  // namespace
