#include "terminal/progress.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "basics/text.h"
#include "command_line/descriptor.h"

namespace vemra::tool {

namespace {

constexpr std::size_t bar_width = 24;
constexpr auto first_shown_after = std::chrono::seconds(1);
constexpr auto redrawn_after = std::chrono::milliseconds(250);
constexpr const char* erase_line = "\r\x1b[K";

}  // namespace

progress::progress(std::string label, std::size_t finished, std::size_t steps)
    : label_(std::move(label)), finished_(std::min(finished, steps)), steps_(steps) {
    if (isatty(STDERR_FILENO) == 0) return;
    thread_ = std::thread([this] { run(); });
}

progress::~progress() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        is_done_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

std::string progress::line(long seconds) const {
    std::string text = erase_line;
    if (steps_ > 0) {
        const std::size_t filled = finished_ * bar_width / steps_;
        text += "[" + std::string(filled, '#') + std::string(bar_width - filled, '.') + "] ";
        text += std::to_string(finished_) + "/" + std::to_string(steps_) + " ";
    }
    return text + printable(label_) + " " + std::to_string(seconds) + " s";
}

void progress::run() {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(mutex_);
    if (changed_.wait_for(lock, first_shown_after, [this] { return is_done_; })) return;
    do {
        const auto elapsed = std::chrono::steady_clock::now() - start;
        static_cast<void>(
            write_all(STDERR_FILENO,
                      line(std::chrono::duration_cast<std::chrono::seconds>(elapsed).count())));
    } while (!changed_.wait_for(lock, redrawn_after, [this] { return is_done_; }));
    static_cast<void>(write_all(STDERR_FILENO, erase_line));
}

}  // namespace vemra::tool
