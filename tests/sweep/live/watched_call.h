#pragma once

#include <functional>
#include <string>
#include <vector>

#include "model/stamp_library.h"

/** Runs one exported function and keeps what its caller sees. */
seen_call watched_call(const std::function<int()>& work);

/**
 * When the library ends the process, what was seen until then is given to the watcher, which does
 * not return.
 */
void watch_end(const std::function<void(const seen_call&)>& watcher);

/** Allocations count, and can be failed, only inside such a scope. */
class counted_scope {
public:
    counted_scope();
    ~counted_scope();
    counted_scope(const counted_scope&) = delete;
    counted_scope& operator=(const counted_scope&) = delete;
};

/** A trace's lines with N for source lines and PTR for addresses but "(nil)". */
std::vector<std::string> normalised_trace(const std::vector<std::string>& lines);
