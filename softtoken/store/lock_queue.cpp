#include "store/lock_queue.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>

#include "store/failure.h"

namespace vemra::softtoken {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr off_t turn = 0;
constexpr off_t door = 1;
constexpr off_t first_ticket = 2;
constexpr off_t to_the_end = 0;

// What the file holds: numbers of eight bytes each. They order waiters that are there; when nobody
// waits, they mean nothing.
constexpr off_t next_ticket = 0;     // Changed at the door.
constexpr off_t passed_tickets = 8;  // Tickets below it do not count; changed by the turn's holder.
constexpr off_t turns_taken = 16;    // By waiters; changed by the turn's holder.

// A number that no queue reaches comes from a damaged file.
constexpr std::uint64_t number_limit = std::uint64_t{1} << 40;

// Whoever is called and does not come within that time is stopped. Those further behind wait
// longer, so that they are passed in their order.
constexpr milliseconds patience{500};
constexpr milliseconds patience_for_each_before{20};
constexpr std::uint64_t most_counted_before = 25;

constexpr microseconds first_pause{50};
constexpr microseconds longest_pause{500};

[[noreturn]] void _fail() {
    throw failure(error_code::storage_failed, "the file system refuses locks");
}

struct flock _lock_of(short type, off_t start, off_t length) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    return lock;
}

bool _lock(int file, off_t start, off_t length) {
    struct flock lock = _lock_of(F_WRLCK, start, length);
    if (fcntl(file, F_OFD_SETLK, &lock) == 0) return true;
    if (errno != EAGAIN && errno != EACCES && errno != EINTR) _fail();
    return false;
}

void _unlock(int file, off_t start, off_t length) noexcept {
    struct flock lock = _lock_of(F_UNLCK, start, length);
    fcntl(file, F_OFD_SETLK, &lock);
}

bool _is_free(int file, off_t start, off_t length) {
    struct flock lock = _lock_of(F_WRLCK, start, length);
    if (fcntl(file, F_OFD_GETLK, &lock) != 0) _fail();
    return lock.l_type == F_UNLCK;
}

std::uint64_t _number(int file, off_t position) {
    std::uint64_t number = 0;
    if (pread(file, &number, sizeof number, position) != sizeof number) return 0;
    return number < number_limit ? number : 0;
}

// A number that could not be written costs a waiter its place, not the lock.
void _keep_number(int file, off_t position, std::uint64_t number) {
    if (pwrite(file, &number, sizeof number, position) != sizeof number) return;
}

off_t _byte_of(std::uint64_t ticket) {
    return first_ticket + static_cast<off_t>(ticket);
}

// Short at first, since most who hold the turn are about to give it back.
class _pauses {
public:
    void take() {
        std::this_thread::sleep_for(length_);
        length_ = std::min(length_ * 2, longest_pause);
    }

private:
    microseconds length_ = first_pause;
};

}  // namespace

bool lock_queue::take_at_once() const {
    if (!_lock(file_, turn, to_the_end)) return false;
    _unlock(file_, door, to_the_end);
    return true;
}

bool lock_queue::wait(clock::time_point deadline) {
    draw_ticket(deadline);
    for (_pauses pauses;; pauses.take()) {
        clock::time_point now = clock::now();
        if (is_passed()) {
            drop_ticket();
            draw_ticket(deadline);
        }
        bool passes_others = others_sleep(now);
        if ((passes_others || is_first()) && take_turn(passes_others)) return true;
        if (now >= deadline) break;
    }
    drop_ticket();
    return false;
}

void lock_queue::release() const noexcept {
    _unlock(file_, turn, to_the_end);
}

// Without a ticket a waiter has no place; that is better than no lock, when somebody is stopped
// just while drawing one.
void lock_queue::draw_ticket(clock::time_point deadline) {
    clock::time_point latest = std::min(deadline, clock::now() + patience);
    for (_pauses pauses; !_lock(file_, door, 1); pauses.take()) {
        if (clock::now() >= latest) return;
    }
    std::uint64_t number = std::max(_number(file_, next_ticket), _number(file_, passed_tickets));
    while (!_lock(file_, _byte_of(number), 1))
        ++number;
    ticket_ = number;
    _keep_number(file_, next_ticket, number + 1);
    _unlock(file_, door, 1);
}

void lock_queue::drop_ticket() noexcept {
    if (ticket_) _unlock(file_, _byte_of(*ticket_), 1);
    ticket_.reset();
}

bool lock_queue::is_passed() const {
    return ticket_ && _number(file_, passed_tickets) > *ticket_;
}

bool lock_queue::is_first() const {
    if (!ticket_) return true;
    std::uint64_t lowest = _number(file_, passed_tickets);
    if (lowest >= *ticket_) return true;
    return _is_free(file_, _byte_of(lowest), static_cast<off_t>(*ticket_ - lowest));
}

// True when the turn was to be had all the time and nobody before this one took it.
bool lock_queue::others_sleep(clock::time_point now) {
    if (!ticket_) return false;
    std::uint64_t turns = _number(file_, turns_taken);
    if (turns != seen_turns_ || seen_turns_since_ == clock::time_point{} ||
        !_is_free(file_, turn, 1)) {
        seen_turns_ = turns;
        seen_turns_since_ = now;
        return false;
    }
    std::uint64_t before = *ticket_ - std::min(*ticket_, _number(file_, passed_tickets));
    return now - seen_turns_since_ >
           patience + patience_for_each_before * std::min(before, most_counted_before);
}

bool lock_queue::take_turn(bool passes_others) {
    if (!_lock(file_, turn, 1)) return false;
    if (passes_others) _keep_number(file_, passed_tickets, *ticket_);
    _keep_number(file_, turns_taken, (_number(file_, turns_taken) + 1) % number_limit);
    drop_ticket();
    return true;
}

}  // namespace vemra::softtoken
