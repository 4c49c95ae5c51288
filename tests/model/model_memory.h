#pragma once

#include <cstddef>
#include <string>

/** A string keeps this many bytes in itself, without a block of memory. */
constexpr std::size_t short_text = 15;

/** A failure inside a call, as the text of the exception that tells it. */
struct device_failure {
    std::string text;
};

/** Something that is no std::exception, which nothing in the library catches. */
struct foreign_failure {
    std::string text;
};

/**
 * Where memory fails in the model. Throwing allocations are not counted one by one: step() stands
 * wherever what can be seen may change, and the allocations between two steps fail alike.
 */
class model_memory {
public:
    /** 0: never. */
    int failing_step = 0;
    int failing_nothrow = 0;
    bool is_lasting = false;

    /** A place where throwing allocations may fail. */
    void step() {
        if (is_due(++steps_, failing_step)) throw device_failure{"std::bad_alloc"};
    }
    /** A non-throwing allocation; false when it gives null. */
    bool has_memory() { return !is_due(++nothrow_, failing_nothrow); }
    /** An object of the device layer, whose missing memory is thrown after all. */
    void require_memory() {
        if (!has_memory()) throw device_failure{"std::bad_alloc"};
    }
    void restart() { *this = {}; }
    bool has_failed() const { return has_failed_; }

private:
    bool is_due(int count, int nth) {
        const bool result = nth != 0 && (is_lasting ? count >= nth : count == nth);
        has_failed_ = has_failed_ || result;
        return result;
    }

    int steps_ = 0;
    int nothrow_ = 0;
    bool has_failed_ = false;
};
