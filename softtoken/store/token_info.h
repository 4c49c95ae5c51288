/** What a token is: the facts in the one row of its token table. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vemra::softtoken {

/* For whom a verified password counts. */
enum class login_scope { process, handle, none };

/* As it is stored, and written on the command line. */
const char* name_of(login_scope scope) noexcept;
/* Nothing for any other text. */
std::optional<login_scope> login_scope_from(const std::string& name);

/* In microseconds. */
constexpr std::int64_t longest_call_delay = 60'000'000;

/* Sizes in bytes. A rate or delay of 0 means as fast as the machine. */
struct token_limits {
    std::int64_t capacity = std::int64_t{1} << 30;
    std::int64_t slot_size = std::int64_t{64} << 20;
    std::int64_t slots = 1000;
    std::int64_t call_microseconds = 0;
    std::int64_t bytes_per_second = 0;

    /* Whether a token can have them; a damaged file may say anything. */
    bool are_possible() const {
        return capacity >= 0 && slot_size >= 0 && slots >= 0 && call_microseconds >= 0 &&
               call_microseconds <= longest_call_delay && bytes_per_second >= 0;
    }

    /* How long so many bytes take to or from the token, in microseconds. */
    std::int64_t transfer_microseconds(std::int64_t bytes) const {
        return bytes_per_second > 0 ? bytes * 1000000 / bytes_per_second : 0;
    }
};

/* The serial number and the type are what the device interface tells. */
struct token_info {
    std::string uid; /* 32 hexadecimal digits, made at creation and never changed */
    std::string serial_number;
    int type = 0;
    std::string label;
    login_scope login = login_scope::process;
    token_limits limits;
};

}  // namespace vemra::softtoken
