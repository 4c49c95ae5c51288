/** A verified password: it counts in one process, until the token is pulled out. */
#pragma once

#include <unistd.h>

#include "store/plug.h"

namespace vemra::softtoken {

/* The verified password of one handle, or of the process. */
class login {
public:
    /* Whether it counts here, for the token as it is plugged in now. */
    /* A child made by fork is another process: it is logged out. */
    bool holds(const plug& present) const { return process_ == getpid() && plug_ == present; }
    void begin(const plug& present) {
        process_ = getpid();
        plug_ = present;
    }
    void end() { process_ = 0; }

private:
    pid_t process_ = 0;
    plug plug_;
};

}  // namespace vemra::softtoken
