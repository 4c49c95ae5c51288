#include "terminal/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "basics/text.h"
#include "command_line/descriptor.h"

namespace vemra::tool {

namespace {

constexpr std::size_t bar_width = 24;
// In seconds.
constexpr double worth_showing = 1;
constexpr auto redrawn_after = std::chrono::milliseconds(250);
constexpr const char* erase_line = "\r\x1b[K";

std::string _kilobytes(std::size_t bytes) {
    return std::to_string(bytes / 1000);
}

std::string _duration(double seconds) {
    const long whole = std::lround(std::ceil(seconds));
    if (whole < 100) return std::to_string(whole) + " s";
    return std::to_string((whole + 59) / 60) + " min";
}

}  // namespace

progress::progress(std::string label, std::size_t bytes, std::function<std::size_t()> moved,
                   pace& run)
    : label_(std::move(label)), bytes_(bytes), ask_moved_(std::move(moved)), run_(run) {
    thread_ = std::thread([this] { draw_until_done(); });
}

progress::~progress() {
    {
        const std::lock_guard lock(mutex_);
        is_done_ = true;
    }
    changed_.notify_one();
    thread_.join();
    run_.add(bytes_, elapsed());
}

double progress::elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void progress::look() {
    const std::size_t moved = ask_moved_ ? std::min(ask_moved_(), bytes_) : 0;
    if (moved <= moved_) return;
    moved_ = moved;
    moved_at_ = elapsed();
}

// Negative when it is not known. What moves now began when the last was there.
double progress::left() const {
    const std::size_t total = run_.total(bytes_);
    const auto seconds =
        run_.seconds_for(total - std::min(total, run_.moved() + moved_), moved_, moved_at_);
    return seconds ? std::max(0.0, *seconds - (elapsed() - moved_at_)) : -1;
}

std::string progress::line() const {
    std::string text = erase_line;
    const std::size_t total = run_.total(bytes_);
    const std::size_t moved = run_.moved() + moved_;
    if (total > 0) {
        const std::size_t filled = std::min(moved, total) * bar_width / total;
        text += "[" + std::string(filled, '#') + std::string(bar_width - filled, '.') + "] ";
        text += _kilobytes(moved) + "/" + _kilobytes(total) + " KB ";
    }
    text += printable(label_) + " " + std::to_string(static_cast<long>(elapsed())) + " s";
    const double seconds = left();
    return seconds > 0 ? text + ", " + _duration(seconds) + " left" : text;
}

void progress::draw_until_done() {
    bool is_shown = false;
    std::unique_lock lock(mutex_);
    do {
        look();
        is_shown = is_shown || elapsed() >= worth_showing || left() > worth_showing;
        if (is_shown) static_cast<void>(write_all(STDERR_FILENO, line()));
    } while (!changed_.wait_for(lock, redrawn_after, [this] { return is_done_; }));
    if (is_shown) static_cast<void>(write_all(STDERR_FILENO, erase_line));
}

}  // namespace vemra::tool
