/** A bar on standard error for what takes over a second, when that is a terminal. */
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

#include "output.h"

namespace vemra::tool {

/** Shows itself until it is destroyed, and leaves no trace. Print nothing meanwhile. */
class progress {
public:
    /** `steps` counts what step() tells; with 0 or 1 only the time is shown. */
    progress(const output& out, const std::string& label, std::size_t steps = 0);
    ~progress();
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

    /** Begins the next step. */
    void step(const std::string& label);

private:
    void run();
    std::string line(long seconds) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::string label_;
    std::size_t steps_;
    std::size_t begun_ = 0;
    bool is_done_ = false;
    std::thread thread_;
};

}  // namespace vemra::tool
