/** How a token behaves: all that can be set about it, and what it is unless something sets it. */
#pragma once

#include <cstdint>

namespace vemra::softtoken {

/* For whom a verified password counts. */
enum class login_scope { process, handle, none };

/* In microseconds. */
constexpr std::int64_t longest_call_delay = 60'000'000;

/* Each member is a knob; knob_table.cpp tells its name, its values and what it does. */
struct personality {
    /* Room: sizes in bytes. */
    std::int64_t capacity = std::int64_t{1} << 30;
    std::int64_t slot_size = std::int64_t{64} << 20;
    std::int64_t slots = 1000;

    /* Time. A rate or delay of 0 means as fast as the machine. */
    std::int64_t call_microseconds = 0;
    std::int64_t bytes_per_second = 0;

    /* Passwords. */
    login_scope login = login_scope::process;
    std::int64_t retries = 10;

    /* Whether a token can have these limits; a damaged file may say anything. */
    bool limits_are_possible() const {
        return capacity >= 0 && slot_size >= 0 && slots >= 0 && call_microseconds >= 0 &&
               call_microseconds <= longest_call_delay && bytes_per_second >= 0;
    }

    /* How long so many bytes take to or from the token, in microseconds. */
    std::int64_t transfer_microseconds(std::int64_t bytes) const {
        return bytes_per_second > 0 ? bytes * 1000000 / bytes_per_second : 0;
    }
};

}  // namespace vemra::softtoken
