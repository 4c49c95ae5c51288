/**
 * Keeps the stamp library's trace off the tool's output.
 *
 * The library prints its trace, passwords included, on standard output. While this lives,
 * descriptor 1 is a file in memory that no other process sees. After each library call the tool
 * takes what was printed: error lines are kept for its own messages, everything goes to the debug
 * destination where there is one, and the rest is forgotten. Passwords are masked first, and the
 * buffers that held them overwritten.
 */
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "command_line/secret.h"

namespace vemra::tool {

/** One for the process, which outlives everything that calls the library. */
class trace {
public:
    /** Call before any thread starts. */
    trace();
    ~trace();
    trace(const trace&) = delete;
    trace& operator=(const trace&) = delete;

    /** The standard output that the tool was started with. */
    int original_output() const { return original_; }

    /** Shows the trace on a descriptor from now on, or in a new file that only the user reads. */
    void show_on(int descriptor) { shown_on_ = descriptor; }
    void show_in_file(const std::string& path);

    /**
     * Takes what was printed since the last call; returns the texts of its error lines, and one
     * more when not everything could be kept.
     */
    std::vector<std::string> take(const secret& masked);

    /** How often this stands in what was printed since the last call; from any thread. */
    std::size_t count(std::string_view text);

    /** Whether not everything could be shown where it was asked for. */
    bool is_cut() const { return cut_; }

private:
    /** Held while what was printed is looked at or taken. */
    std::mutex mutex_;
    int original_;
    int memory_;
    int shown_on_ = -1;
    bool cut_ = false;
};

}  // namespace vemra::tool
