// The crash handler, in child processes whose standard output is a pipe.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "api/api_test.h"

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
class child_process {
public:
    template <typename Work>
    explicit child_process(Work work) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        std::fflush(stdout);
        id_ = fork();
        if (id_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
            work();
            _exit(0);
        }
        close(ends[1]);
        output_ = fdopen(ends[0], "r");
    }
    ~child_process() { std::fclose(output_); }
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    /** The next line, normalised; empty at the end. */
    std::string line() {
        char buffer[512];
        if (std::fgets(buffer, sizeof(buffer), output_) == nullptr) return {};
        std::string text = buffer;
        if (!text.empty() && text.back() == '\n') text.pop_back();
        return normalised_line(text);
    }
    void kill_it() { kill(id_, SIGKILL); }
    int wait_status() {
        int status = 0;
        waitpid(id_, &status, 0);
        return status;
    }

private:
    pid_t id_;
    std::FILE* output_;
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
    child_process child([] {
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
    child_process child(fault_for_ever);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(child.line(), fatal_line(SIGSEGV));
    child.kill_it();
    EXPECT_EQ(WTERMSIG(child.wait_status()), SIGKILL);
}

TEST(crash_handler, a_raised_signal_is_survived) {
    for (const int number : {SIGILL, SIGSEGV, SIGABRT}) {
        child_process child([number] {
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
    child_process child([] {
        VemraAppStampEnvUninitialize(VemraAppStampEnvInitialize(nullptr));
        std::raise(SIGILL);
    });
    EXPECT_EQ(child.line(), fatal_line(SIGILL));
    EXPECT_EQ(child.wait_status(), 0);
}

TEST(crash_handler, every_initialize_installs_it_again) {
    child_process child([] {
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
    child_process child([] {
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
