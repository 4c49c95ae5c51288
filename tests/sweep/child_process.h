#ifndef SWEEP_CHILD_PROCESS_H
#define SWEEP_CHILD_PROCESS_H

#include <functional>
#include <string>

struct child_end {
    /** The exit status; -1 when a signal ended the child. */
    int status = -1;
    /** What the work returned; nothing when it did not return. */
    std::string told;
};

/**
 * Does the work in a child process made by fork, without exit handlers. The status is 1 when an
 * expectation of the test failed in the child.
 */
child_end in_child(const std::function<std::string()>& work);

#endif
