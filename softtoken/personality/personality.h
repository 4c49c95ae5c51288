/** How a token behaves: all that can be set about it, and what it is unless something sets it. */
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace vemra::softtoken {

/* Each has its values in the order in which knob_table.cpp names them, the usual one first. */
enum class login_scope { process, handle, none };
enum class failed_login { logs_out, keeps_login };
enum class told_retries { left, zero, untouched, after_failure };
enum class handle_rule { come_back, stay_dead };
enum class access_rule { shared, first_process, first_process_hides, one_handle };
enum class thread_rule { any, busy, crash };
enum class absent_slot { refused, empty };
enum class read_buffer { any, fitting };
enum class write_length { exact, shorter };
enum class permission { allowed, refused };
enum class lie { none, writes_nothing, writes_other_bytes, deletes_nothing };
enum class returned_room { at_once, after_replug };
enum class list_order { name, changing };
enum class text_padding { none, blanks, nuls };
enum class letter_case { same, changing };
enum class last_error_rule { thread, process, cleared, never };

/* In microseconds. */
constexpr std::int64_t longest_call_delay = 60'000'000;

/* The digest that algorithm 0x7000 is unless something sets it, and the name for none. */
constexpr const char* usual_digest = "SHA256";
constexpr const char* no_digest = "none";

/* Each member is a knob; knob_table.cpp tells its name, its values and what it does. */
struct personality {
    /* Room: sizes in bytes. */
    std::int64_t capacity = std::int64_t{1} << 30;
    std::int64_t slot_size = std::int64_t{64} << 20;
    std::int64_t slots = 1000;
    returned_room room_of_deleted = returned_room::at_once;
    std::int64_t slot_writes = 0;

    /* Time. A rate or delay of 0 means as fast as the machine. */
    std::int64_t call_microseconds = 0;
    std::int64_t bytes_per_second = 0;
    std::int64_t first_call_milliseconds = 0;
    std::string never_ends;

    /* Passwords. */
    std::int64_t retries = 10;
    std::int64_t login_changes = 0;
    std::int64_t login_calls = 0;
    std::int64_t login_seconds = 0;
    login_scope login = login_scope::process;
    failed_login after_failed_login = failed_login::logs_out;
    told_retries retries_told = told_retries::left;
    bool login_to_read = false;

    /* Handles, processes and threads. */
    handle_rule handles = handle_rule::come_back;
    access_rule access = access_rule::shared;
    thread_rule threads = thread_rule::any;

    /* Slots. */
    absent_slot absent = absent_slot::refused;
    read_buffer buffer = read_buffer::any;
    std::int64_t length_block = 1;
    std::int64_t length_padding = 0;
    std::int64_t read_most = 0;
    std::int64_t write_most = 0;
    write_length written_length = write_length::exact;
    permission rewrite = permission::allowed;
    permission remake_empty = permission::allowed;
    permission create_empty = permission::allowed;
    lie lies = lie::none;
    std::string attributes_refused;
    std::string attributes_needed;
    std::int64_t lowest_slot = 0;
    std::int64_t highest_slot = INT32_MAX;

    /* The list of devices. */
    list_order order = list_order::name;
    std::int64_t list_stale = 0;
    bool list_twice = false;
    bool list_null = false;

    /* Who it says it is. Texts are bytes. */
    std::optional<std::string> serial_told;
    text_padding serial_padding = text_padding::none;
    std::int64_t serial_length = 32;
    letter_case serial_case = letter_case::same;
    std::optional<std::int64_t> type_told;
    std::string digest = usual_digest;

    /* Errors. A text that is nothing is a null pointer. */
    std::map<int, int> codes;
    std::map<int, std::optional<std::string>> texts;
    last_error_rule last_error = last_error_rule::thread;
    std::string throws;

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
