#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

struct child_end {
    /** The exit status; -1 when a signal ended the child. */
    int status = -1;
    /** What the work returned; nothing when it did not return. */
    std::string told;
};

using child_work = std::function<std::string()>;

/**
 * A child process made by fork, that gets ready and then waits until it is told to work. It ends
 * without exit handlers; the status is 1 when an expectation of the test failed in it.
 */
class waiting_child {
public:
    /** Returns when the child is ready; what `get_ready` returns is its work. */
    explicit waiting_child(const std::function<child_work()>& get_ready);
    /** Kills a child that was not told to work. */
    ~waiting_child();
    waiting_child(const waiting_child&) = delete;
    waiting_child& operator=(const waiting_child&) = delete;

    /** False when the child ended instead of getting ready. */
    bool is_ready() const { return is_ready_; }
    pid_t id() const { return child_; }
    /** Lets it work, and waits for its end. */
    child_end work();

private:
    pid_t child_ = -1;
    int channel_ = -1;
    bool is_ready_ = false;
};

/** Does the work in such a child at once. */
child_end in_child(const child_work& work);
