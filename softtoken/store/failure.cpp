#include "store/failure.h"

namespace vemra::softtoken {

const char* error_text(int code) noexcept {
    switch (static_cast<error_code>(code)) {
        case error_code::success:
            return "success";
        case error_code::no_such_slot:
            return "no such data slot";
        case error_code::null_handle:
            return "null handle";
        case error_code::bad_argument:
            return "bad argument";
        case error_code::out_of_memory:
            return "out of memory";
        case error_code::removed:
            return "device removed";
        case error_code::not_logged_in:
            return "password not verified";
        case error_code::wrong_password:
            return "wrong password";
        case error_code::locked:
            return "device locked";
        case error_code::slot_exists:
            return "data slot already exists";
        case error_code::wrong_length:
            return "length differs from data slot";
        case error_code::buffer_too_small:
            return "buffer too small";
        case error_code::token_full:
            return "device full";
        case error_code::slot_too_large:
            return "data slot too large";
        case error_code::too_many_slots:
            return "too many data slots";
        case error_code::no_such_index:
            return "no such index";
        case error_code::unknown_password_type:
            return "unknown password type";
        case error_code::unknown_algorithm:
            return "unknown algorithm";
        case error_code::unknown_format:
            return "unknown encoding format";
        case error_code::bad_certificate:
            return "not a certificate";
        case error_code::hash_finished:
            return "hash already finished";
        case error_code::no_storage:
            return "device has no storage";
        case error_code::busy:
            return "device busy";
        case error_code::storage_failed:
            return "storage failed";
        case error_code::damaged:
            return "device data damaged";
        case error_code::crypto_failed:
            return "cryptographic operation failed";
        case error_code::internal:
            return "internal error";
    }
    return "unknown error";
}

failure::failure(error_code code) : failure(code, error_text(static_cast<int>(code))) {}

failure::failure(error_code code, const std::string& detail)
    : std::runtime_error(detail), code_(code) {}

}  // namespace vemra::softtoken
