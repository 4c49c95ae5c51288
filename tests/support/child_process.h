#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <utility>

/**
 * A process made by fork. It ends without exit handlers, with the status 0 when its work returned
 * true, otherwise with 1. It is killed with the object that stands for it, unless it was awaited.
 */
class child_process {
public:
    explicit child_process(const std::function<bool()>& work);
    ~child_process() { end(); }
    child_process(child_process&& other) noexcept : id_(std::exchange(other.id_, -1)) {}
    child_process& operator=(child_process&&) = delete;

    pid_t id() const { return id_; }
    void signal(int number) const;
    bool has_ended() const;
    /** Kills it, and waits for its end. Nothing happens when it was awaited. */
    void end();
    /** Waits for its end; the state is as waitpid tells it. */
    int await();
    /** Waits for its end; whether its work returned true. */
    bool succeeds() { return await() == 0; }

private:
    pid_t id_ = -1;
};

struct child_end {
    /** The exit status; -1 when a signal ended the child. */
    int status = -1;
    /** What the work returned; nothing when it did not return. */
    std::string told;
};

using child_work = std::function<std::string()>;

/**
 * A child process that gets ready and then waits until it is told to work. Its status is 1 when an
 * expectation of the test failed in it.
 */
class waiting_child {
public:
    /** Returns when the child is ready; what `get_ready` returns is its work. */
    explicit waiting_child(const std::function<child_work()>& get_ready);
    ~waiting_child();
    waiting_child(const waiting_child&) = delete;
    waiting_child& operator=(const waiting_child&) = delete;

    /** False when the child ended instead of getting ready. */
    bool is_ready() const { return is_ready_; }
    pid_t id() const { return child_.id(); }
    /** Lets it work, and waits for its end. */
    child_end work();

private:
    waiting_child(std::pair<int, int> ends, const std::function<child_work()>& get_ready);

    int channel_;
    child_process child_;
    bool is_ready_;
};

/** Does the work in such a child at once. */
child_end in_child(const child_work& work);
