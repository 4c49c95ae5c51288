/** A verified password: it counts in one process, until the token is pulled out. */
#pragma once

#include <unistd.h>

#include <cstdint>

#include "store/token_info.h"

namespace vemra::softtoken {

class login {
public:
    /* A child made by fork is another process: it is logged out. */
    bool holds(const plug_state& plug) const {
        return process_ == getpid() && plug_count_ == plug.count;
    }
    void begin(const plug_state& plug) {
        process_ = getpid();
        plug_count_ = plug.count;
    }
    void end() { process_ = 0; }

private:
    pid_t process_ = 0;
    std::int64_t plug_count_ = 0;
};

}  // namespace vemra::softtoken
