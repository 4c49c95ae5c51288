#pragma once

#include <sys/mman.h>

#include <atomic>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>

#include "support/child_process.h"

/** A value that the processes made by fork share with this one. */
template <typename Value>
class shared {
public:
    shared() {
        void* const memory =
            mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
        value_ = new (memory) Value{};
    }
    ~shared() { munmap(value_, sizeof(Value)); }
    shared(const shared&) = delete;
    shared& operator=(const shared&) = delete;

    Value& operator*() const { return *value_; }
    Value* operator->() const { return value_; }

private:
    Value* value_;
};

/** What a worker's process knows of itself. */
class worker_life {
public:
    /** How many processes of this worker were killed before it. */
    int kills() const { return kills_; }
    /** Tells that a step is done. */
    void step() { ++steps_; }
    /** False when the work is to end: it was told so, or has failed. */
    bool goes_on() const;

private:
    friend class worker;

    int kills_ = 0;
    std::atomic<int> steps_{0};
    std::atomic<bool> is_to_end_{false};
};

/** A process that works step by step, until it is killed, told to end or done. */
class worker {
public:
    using work = std::function<void(worker_life&)>;

    explicit worker(const work& task);
    worker(const worker&) = delete;
    worker& operator=(const worker&) = delete;

    /** Waits until the process has done a step. */
    void await_step() const;
    /** Kills the process in the midst of its work, and may start it anew. */
    void kill_in_work();
    void restart();
    /** Tells it to end, and waits for that. Nothing in it may have failed. */
    void finish();
    /** Waits until it has done its work, and nothing in it may have failed. */
    void await_end();

private:
    int end();

    const work task_;
    std::optional<child_process> process_;
    shared<worker_life> life_;
};
