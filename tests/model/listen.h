#pragma once

#include <functional>
#include <optional>

#include "support/expected_trace.h"
#include "support/stream_capture.h"

/** The listener of a random use that wants every line. */
inline std::optional<text_lines> listen(const std::function<void()>& work) {
    const stdout_capture captured;
    work();
    return captured.normalised();
}
