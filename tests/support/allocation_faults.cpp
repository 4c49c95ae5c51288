#include "support/allocation_faults.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define HAS_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

enum class form : unsigned char { single, array };

// Stands before each block.
struct alignas(std::max_align_t) block_header {
    form allocated_as;
    bool is_counted;
    std::size_t size;
};

// Stands behind each block. The address sanitizer sees more without it.
#ifdef HAS_ADDRESS_SANITIZER
constexpr std::size_t guard_size = 0;
#else
constexpr std::size_t guard_size = 1;
#endif
constexpr unsigned char guard = 0xa5;

// More than any machine has. The sanitizers' malloc would end the program over it.
constexpr std::size_t largest_size = static_cast<std::size_t>(-1) / 65536;

struct schedule {
    int count = 0;
    int nth = 0;  // 0: none.
    bool is_lasting = false;

    bool is_due() {
        ++count;
        return nth != 0 && (is_lasting ? count >= nth : count == nth);
    }
};

std::atomic<long> counted_blocks{0};
thread_local schedule nothrow_schedule;
thread_local schedule throwing_schedule;
thread_local int exemptions = 0;
thread_local bool has_fired = false;

void* _allocate(std::size_t size, form as, schedule& faults) {
    const bool is_counted = exemptions == 0;
    if (is_counted && faults.is_due()) {
        has_fired = true;
        return nullptr;
    }
    if (size > largest_size) return nullptr;
    auto* header =
        static_cast<block_header*>(std::malloc(sizeof(block_header) + size + guard_size));
    if (header == nullptr) return nullptr;
    *header = {as, is_counted, size};
    std::memset(reinterpret_cast<unsigned char*>(header + 1) + size, guard, guard_size);
    if (is_counted) ++counted_blocks;
    return header + 1;
}

void* _allocate_or_throw(std::size_t size, form as) {
    void* block = _allocate(size, as, throwing_schedule);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void _release(void* block, form as) {
    if (block == nullptr) return;
    block_header* header = static_cast<block_header*>(block) - 1;
    if (header->allocated_as != as) {
        std::fputs("a block was released with the wrong form of delete\n", stderr);
        std::abort();
    }
    if (guard_size != 0 && static_cast<unsigned char*>(block)[header->size] != guard) {
        std::fputs("a block was written beyond its end\n", stderr);
        std::abort();
    }
    if (header->is_counted) --counted_blocks;
    std::free(header);
}

}  // namespace

namespace allocation_faults {

long live_blocks() {
    return counted_blocks;
}

void fail_nothrow(int nth, bool is_lasting) {
    stop();
    nothrow_schedule = {0, nth, is_lasting};
}

void fail_throwing(int nth, bool is_lasting) {
    stop();
    throwing_schedule = {0, nth, is_lasting};
}

void stop() {
    nothrow_schedule = {};
    throwing_schedule = {};
    has_fired = false;
}

bool fired() {
    return has_fired;
}

int throwing_count() {
    return throwing_schedule.count;
}

int nothrow_count() {
    return nothrow_schedule.count;
}

}  // namespace allocation_faults

void allocation_faults_exempt(int change) {
    exemptions += change;
}

void* operator new(std::size_t size) {
    return _allocate_or_throw(size, form::single);
}

void* operator new[](std::size_t size) {
    return _allocate_or_throw(size, form::array);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return _allocate(size, form::single, nothrow_schedule);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return _allocate(size, form::array, nothrow_schedule);
}

void operator delete(void* block) noexcept {
    _release(block, form::single);
}

void operator delete[](void* block) noexcept {
    _release(block, form::array);
}

void operator delete(void* block, std::size_t) noexcept {
    _release(block, form::single);
}

void operator delete[](void* block, std::size_t) noexcept {
    _release(block, form::array);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    _release(block, form::single);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    _release(block, form::array);
}
