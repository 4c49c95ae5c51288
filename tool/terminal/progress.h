/** A bar on standard error for what takes over a second, when that is a terminal. */
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace vemra::tool {

/** Shows itself until it is destroyed, and leaves no trace. Print nothing meanwhile. */
class progress {
public:
    /** The bar tells how many of the steps are finished; without steps only the time is shown. */
    explicit progress(std::string label, std::size_t finished = 0, std::size_t steps = 0);
    ~progress();
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

private:
    void run();
    std::string line(long seconds) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    const std::string label_;
    const std::size_t finished_;
    const std::size_t steps_;
    bool is_done_ = false;
    std::thread thread_;
};

}  // namespace vemra::tool
