/** A verified password: it counts in one process, until the token is pulled out. */
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdint>

#include "personality/personality.h"
#include "store/plug.h"

namespace vemra::softtoken {

/* The verified password of one handle, or of the process. */
class login {
public:
    /* Whether it counts here, for the token as it is plugged in now, and as its knobs are. */
    /* A child made by fork is another process: it is logged out. */
    bool holds(const plug& present, const personality& rules) const {
        using std::chrono::seconds;
        if (process_ != getpid() || !(plug_ == present)) return false;
        if (rules.login_changes > 0 && changes_ >= rules.login_changes) return false;
        if (rules.login_calls > 0 && calls_ > rules.login_calls) return false;
        return rules.login_seconds == 0 ||
               std::chrono::steady_clock::now() - begun_ < seconds(rules.login_seconds);
    }
    void begin(const plug& present) {
        *this = {};
        process_ = getpid();
        plug_ = present;
        begun_ = std::chrono::steady_clock::now();
    }
    void end() { process_ = 0; }

    void count_call() { ++calls_; }
    void count_change() { ++changes_; }

private:
    pid_t process_ = 0;
    plug plug_;
    std::chrono::steady_clock::time_point begun_;
    std::int64_t calls_ = 0;
    std::int64_t changes_ = 0;
};

}  // namespace vemra::softtoken
