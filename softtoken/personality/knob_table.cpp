#include "personality/knob_kinds.h"

namespace vemra::softtoken {

namespace {

using p = personality;

constexpr std::int64_t most_seconds = 1000000;
constexpr std::int64_t most_counted = 1000000000;

// The functions that ask something of a token.
const std::vector<std::string>& _functions() {
    static const auto& functions = *new std::vector<std::string>{
        "none",           "GetType",         "GetSerialNumber", "VerifyPwd",
        "GetDataLength",  "ReadData",        "CreateData",      "WriteData",
        "DeleteData",     "GetKeypairCount", "GetKeypair",      "GetCertificateCount",
        "GetCertificate", "NewHash"};
    return functions;
}

knob _in_column(knob made) {
    made.place = kept_in::column;
    return made;
}

std::vector<knob> _room() {
    return {
        _in_column(size_knob("capacity", &p::capacity, "bytes in all slots together")),
        _in_column(size_knob("slot-size", &p::slot_size, "bytes in one slot")),
        _in_column(number_knob("slots", &p::slots, {0, 1000000}, "a number up to 1000000",
                               "how many slots there can be")),
        choice_knob("room-of-deleted", &p::room_of_deleted, {"at-once", "after-replug"},
                    "when a deleted slot gives its room back"),
        number_knob("slot-writes", &p::slot_writes, {0, most_counted}, "0 for any, or a number",
                    "writes that a slot stands before it is worn out and answers -122"),
    };
}

std::vector<knob> _time() {
    return {
        _in_column(number_knob("call-delay", &p::call_microseconds, {0, 60000, 1000},
                               "milliseconds, up to 60000", "how long each call takes")),
        _in_column(size_knob("bytes-per-second", &p::bytes_per_second,
                             "how fast bytes move; 0 for at once")),
        number_knob("first-call-delay", &p::first_call_milliseconds, {0, 60000},
                    "milliseconds, up to 60000",
                    "how much longer the first call of each process takes"),
        name_knob("never-ends", &p::never_ends, _functions(),
                  "the function whose calls never come back"),
    };
}

std::vector<knob> _passwords() {
    return {
        _in_column(choice_knob("login", &p::login, {"process", "handle", "none"},
                               "for whom a verified password counts; with none, no change needs "
                               "one")),
        _in_column(number_knob("retries", &p::retries, {1, 1000}, "a number up to 1000",
                               "wrong passwords before it locks")),
        flag_knob("login-to-read", &p::login_to_read, "whether ReadData needs a password too"),
        number_knob("login-changes", &p::login_changes, {0, most_counted}, "0 for any, or a number",
                    "for how many changes a verified password counts"),
        number_knob("login-calls", &p::login_calls, {0, most_counted}, "0 for any, or a number",
                    "for how many calls of any kind it counts"),
        number_knob("login-seconds", &p::login_seconds, {0, most_seconds}, "0 for any, or a number",
                    "for how many seconds it counts"),
        choice_knob("failed-login", &p::after_failed_login, {"logs-out", "keeps-login"},
                    "what a wrong password does to the login before it"),
        choice_knob("retries-told", &p::retries_told,
                    {"left", "zero", "untouched", "after-failure"},
                    "what VerifyPwd tells of the attempts that are left"),
    };
}

std::vector<knob> _handles() {
    return {
        choice_knob("handles", &p::handles, {"come-back", "stay-dead"},
                    "what handles do when a token that was unplugged is back; dead ones answer "
                    "-104 for ever, and a new list gives new ones"),
        choice_knob("access", &p::access,
                    {"shared", "first-process", "first-process-hides", "one-handle"},
                    "who may use it at once; all others get -121, or a list without it"),
        choice_knob("threads", &p::threads, {"any", "busy", "crash"},
                    "what the second of two threads' calls at once does"),
    };
}

std::vector<knob> _reading() {
    return {
        choice_knob("absent-slot", &p::absent, {"refused", "empty"},
                    "what GetDataLength and ReadData make of a slot that is not there; empty is "
                    "success with length 0"),
        number_knob("length-block", &p::length_block, {1, 1048576}, "a number of bytes up to 1 MiB",
                    "told lengths are rounded up to whole blocks of so many bytes"),
        number_knob("length-padding", &p::length_padding, {0, 255}, "a byte from 0 to 255",
                    "what is read behind a slot's bytes then"),
        number_knob("read-most", &p::read_most, {0, INT32_MAX}, "0 for all, or a number of bytes",
                    "how much one ReadData gives, which its length says"),
        choice_knob("read-buffer", &p::buffer, {"any", "fitting"},
                    "which buffers ReadData takes; one beyond the told length answers -102"),
    };
}

std::vector<knob> _changing() {
    return {
        number_knob("write-most", &p::write_most, {0, INT32_MAX}, "0 for all, or a number of bytes",
                    "how many bytes of a WriteData arrive; the slot keeps the rest of its own"),
        choice_knob("write-length", &p::written_length, {"exact", "shorter"},
                    "which lengths WriteData takes; a shorter one fills the slot's beginning"),
        choice_knob("rewrite", &p::rewrite, {"allowed", "refused"},
                    "whether a slot that has been written can be written again; -108 if not"),
        choice_knob("remake-empty", &p::remake_empty, {"allowed", "refused"},
                    "whether a slot of length 0 can be made again; -108 if not"),
        choice_knob("create-empty", &p::create_empty, {"allowed", "refused"},
                    "whether a slot of length 0 can be made; -102 if not"),
        pattern_knob("attributes-refused", &p::attributes_refused,
                     "^([0-9a-f]{8}(,[0-9a-f]{8})*)?$", "blocks of 8 hexadecimal digits",
                     "attribute blocks, with commas between, that CreateData refuses with -102"),
        pattern_knob("attributes-needed", &p::attributes_needed, "^([0-9a-f]{8})?$",
                     "a block of 8 hexadecimal digits", "the only one that it takes, if any"),
        number_knob("lowest-slot", &p::lowest_slot, {0, INT32_MAX}, "a slot number",
                    "the first number that CreateData takes; others answer -102"),
        number_knob("highest-slot", &p::highest_slot, {0, INT32_MAX}, "a slot number",
                    "the last one"),
        choice_knob("lie", &p::lies,
                    {"none", "writes-nothing", "writes-other-bytes", "deletes-nothing"},
                    "what it does while it says success"),
    };
}

std::vector<knob> _list() {
    return {
        choice_knob("list-order", &p::order, {"name", "changing"},
                    "the order of devices; one token that changes it does so for all"),
        number_knob("list-stale", &p::list_stale, {-1, most_seconds},
                    "0, a number of seconds, or -1 for all of a process's life",
                    "how long a process's lists do not notice that it was plugged in or out"),
        flag_knob("list-twice", &p::list_twice, "whether lists have it twice"),
        flag_knob("list-null", &p::list_null, "whether lists have a null handle before it"),
    };
}

std::vector<knob> _identity() {
    return {
        bytes_knob("serial-told", &p::serial_told,
                   "the serial number that it tells in the place of its own"),
        choice_knob("serial-padding", &p::serial_padding, {"none", "blanks", "nuls"},
                    "what fills the serial number up to its length"),
        number_knob("serial-length", &p::serial_length, {0, 4096}, "a number of bytes up to 4096",
                    "that length"),
        choice_knob("serial-case", &p::serial_case, {"same", "changing"},
                    "whether each other call tells capitals for small letters and the other way"),
        optional_number_knob("type-told", &p::type_told,
                             "the device type that it tells in the place of its own"),
        pattern_knob("digest", &p::digest, "^[A-Za-z0-9][A-Za-z0-9/-]*$",
                     "a name that OpenSSL has, of 20 to 64 bytes, or none",
                     "the digest that algorithm 0x7000 is"),
    };
}

std::vector<knob> _errors() {
    return {
        number_table_knob("codes", &p::codes, "{\"CODE\": OTHER}",
                          "the codes that it answers in the place of those below"),
        bytes_table_knob("texts", &p::texts, "{\"CODE\": TEXT}",
                         "the texts of codes, as it tells them; null for a null pointer, and hex"
                         " as above"),
        choice_knob("last-error", &p::last_error, {"thread", "process", "cleared", "never"},
                    "whose last error GetLastError tells; cleared by success, or never set"),
        name_knob("throws", &p::throws, _functions(),
                  "the function that throws a C++ exception at its caller"),
    };
}

}  // namespace

const std::vector<knob_group>& knob_table() {
    static const auto& table = *new std::vector<knob_group>{
        {"Room", _room()},
        {"Time", _time()},
        {"Passwords", _passwords()},
        {"Handles, processes, threads", _handles()},
        {"Reading slots", _reading()},
        {"Changing slots", _changing()},
        {"The list of devices", _list()},
        {"Identity", _identity()},
        {"Errors", _errors()},
    };
    return table;
}

const knob* find_knob(const std::string& name) {
    const knob* found = nullptr;
    for_each_knob([&](const knob& one) {
        if (one.name == name) found = &one;
    });
    return found;
}

}  // namespace vemra::softtoken
