#pragma once

#include <functional>
#include <optional>

#include "support/expected_trace.h"
#include "support/stream_capture.h"

/** A number that no other use in this process has. */
inline int new_use() {
    static int uses = 0;
    return ++uses;
}

/** The listener of a random use that wants every line. */
inline std::optional<text_lines> listen(const std::function<void()>& work) {
    const stdout_capture captured;
    work();
    return captured.normalised();
}
