/**
 * The error codes of the software token and the exception that carries them.
 *
 * -7 belongs to the device interface. The software token's own codes start at -101, away from the
 * small status numbers of the applications that log them.
 */
#pragma once

#include <stdexcept>
#include <string>

namespace vemra::softtoken {

/* What a call ends with; error_text has a text for each. */
enum class error_code : int {
    success = 1,
    no_such_slot = -7,
    null_handle = -101,
    bad_argument = -102,
    out_of_memory = -103,
    removed = -104,
    not_logged_in = -105,
    wrong_password = -106,
    locked = -107,
    slot_exists = -108,
    wrong_length = -109,
    buffer_too_small = -110,
    token_full = -111,
    slot_too_large = -112,
    too_many_slots = -113,
    no_such_index = -114,
    unknown_password_type = -115,
    unknown_algorithm = -116,
    unknown_format = -117,
    bad_certificate = -118,
    hash_finished = -119,
    no_storage = -120,
    busy = -121,
    storage_failed = -122,
    damaged = -123,
    crypto_failed = -124,
    internal = -125,
};

/* A short phrase in plain ASCII without a full stop; never null, whatever the code. */
const char* error_text(int code) noexcept;

/* A call that ends with an error code. The detail is for people (stderr, the admin tool). */
class failure : public std::runtime_error {
public:
    /* Without a detail, what() is the text of the code. */
    explicit failure(error_code code);
    failure(error_code code, const std::string& detail);

    error_code code() const noexcept { return code_; }

private:
    error_code code_;
};

}  // namespace vemra::softtoken
