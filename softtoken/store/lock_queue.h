/**
 * The queue before a lock file. It is kept by locks on single bytes, which the kernel takes away
 * from a process that dies:
 *
 *   byte 0    whoever has the turn holds it
 *   byte 1    held for the moment in which a ticket is drawn
 *   byte 2+n  held by the waiter with ticket n, until it has had its turn or gives up
 *
 * They are locks of the open file, not of the process: they count between threads too, and no other
 * descriptor of the same file takes them away when it is closed.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace vemra::softtoken {

/* One waiter or holder; the descriptor is its own, open for reading and writing. */
class lock_queue {
public:
    using clock = std::chrono::steady_clock;

    explicit lock_queue(int file) : file_(file) {}

    /* Takes the turn while nobody has it and nobody waits. */
    bool take_at_once() const;
    /* Waits for the turn behind all who came before; false when the deadline comes first. */
    bool wait(clock::time_point deadline);
    /* Gives the turn to the next in the queue. */
    void release() const noexcept;

private:
    void draw_ticket(clock::time_point deadline);
    void drop_ticket() noexcept;
    bool is_passed() const;
    bool is_first() const;
    bool others_sleep(clock::time_point now);
    bool take_turn(bool passes_others);

    int file_;
    std::optional<std::uint64_t> ticket_;
    std::uint64_t seen_turns_ = 0;
    clock::time_point seen_turns_since_{};
};

}  // namespace vemra::softtoken
