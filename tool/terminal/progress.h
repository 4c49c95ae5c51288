/** A bar on standard error, a terminal, for what takes over a second. */
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "terminal/pace.h"

namespace vemra::tool {

/**
 * Shows itself until it is destroyed, and leaves no trace. Print nothing meanwhile. It comes as
 * soon as more than a second of the whole run is known to be left, or when a second has passed.
 */
class progress {
public:
    /**
     * A work that moves so many bytes, 0 when that is not known. `moved`, which may be empty, tells
     * how many of them by now. The pace, which outlives it, gets them when it is destroyed.
     */
    progress(std::string label, std::size_t bytes, std::function<std::size_t()> moved, pace& run);
    ~progress();
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

private:
    void draw_until_done();
    void look();
    double elapsed() const;
    double left() const;
    std::string line() const;

    std::mutex mutex_;
    std::condition_variable changed_;
    const std::string label_;
    const std::size_t bytes_;
    const std::function<std::size_t()> ask_moved_;
    pace& run_;
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::size_t moved_ = 0;
    /** When that changed last, in seconds since the start. */
    double moved_at_ = 0;
    bool is_done_ = false;
    std::thread thread_;
};

}  // namespace vemra::tool
