#pragma once

#include <memory>
#include <string>

#include "vemra_crypto.h"
#include "vemra_crypto_cpp/basic_object.h"

namespace vemra::crypto {

class keypair;

/** Export formats, numbered by the device library. */
enum class encode_format_t : int { der = 1, pem = 2 };

/** One certificate. No operation locks: comparing and exporting read the handle only. */
class certificate : public basic_object<VEMRA_CERT_st*> {
public:
    /** Shares `handle`, which own() made. */
    certificate(std::weak_ptr<keypair> owner, owner_t handle);
    /** Takes `h`, or a duplicate of it when `duplicate` is true; `h` is then the caller's still. */
    certificate(std::weak_ptr<keypair> owner, VEMRA_CERT_st* h, bool duplicate);
    /** Reads `len` DER bytes. Its handle is null when they are no certificate. */
    certificate(const void* der, const unsigned long& len);

    /** Whether both hold the same handle, or are equal to the library. */
    bool equals(const certificate& other) const;
    bool operator==(const certificate& other) const { return equals(other); }
    bool operator!=(const certificate& other) const { return !equals(other); }

    /** The certificate in `format`; the empty string when the library fails. */
    std::string get_encode(encode_format_t format) const;

private:
    std::weak_ptr<keypair> owner_;
};

}  // namespace vemra::crypto
