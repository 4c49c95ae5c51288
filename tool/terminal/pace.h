/** How fast a run moves bytes to and from devices, and how many are left. */
#pragma once

#include <cstddef>
#include <optional>

namespace vemra::tool {

class pace {
public:
    /** So many more will be moved. */
    void expect(std::size_t bytes);
    /** So many were, in so many seconds. */
    void add(std::size_t bytes, double seconds);

    std::size_t moved() const { return moved_; }
    /** Of all that is known to come, with a work of so many bytes that runs. */
    std::size_t total(std::size_t running) const;

    /**
     * Seconds for so many bytes, by what was measured, and by a work that moved some in so many
     * seconds; nothing before enough was moved to tell.
     */
    std::optional<double> seconds_for(std::size_t bytes, std::size_t moved, double seconds) const;

private:
    std::size_t expected_ = 0;
    std::size_t moved_ = 0;
    double seconds_ = 0;
};

}  // namespace vemra::tool
