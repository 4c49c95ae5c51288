#include "terminal/pace.h"

#include <algorithm>

namespace vemra::tool {

namespace {

// Less takes mostly the time that each call costs, whatever its bytes.
constexpr std::size_t fewest_measured = 4096;

}  // namespace

void pace::expect(std::size_t bytes) {
    expected_ = std::max(expected_, moved_) + bytes;
}

void pace::add(std::size_t bytes, double seconds) {
    if (bytes == 0) return;
    moved_ += bytes;
    seconds_ += seconds;
}

std::size_t pace::total(std::size_t running) const {
    return std::max(expected_, moved_ + running);
}

std::optional<double> pace::seconds_for(std::size_t bytes, std::size_t moved,
                                        double seconds) const {
    const std::size_t measured = moved_ + moved;
    if (measured < fewest_measured) return std::nullopt;
    const double taken = seconds_ + (moved > 0 ? seconds : 0);
    return static_cast<double>(bytes) * taken / static_cast<double>(measured);
}

}  // namespace vemra::tool
