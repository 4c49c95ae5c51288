#pragma once

#include <memory>
#include <vector>

#include "vemra_crypto.h"
#include "vemra_crypto_cpp/basic_object.h"
#include "vemra_crypto_cpp/certificate.h"

namespace vemra::crypto {

class device;

/** One key pair of a device, with its certificates. Operations lock unless they say otherwise. */
class keypair : public basic_object<VEMRA_PrivKey_Handle_st*>,
                public std::enable_shared_from_this<keypair> {
public:
    /** Shares `handle`, which own() made. Does not load the certificates. */
    keypair(std::weak_ptr<device> owner, owner_t handle);
    /** Takes `h`, or a duplicate of it when `duplicate` is true; `h` is then the caller's still. */
    keypair(std::weak_ptr<device> owner, VEMRA_PrivKey_Handle_st* h, bool duplicate);

    /**
     * Appends the certificates in the library's order; one that cannot be fetched is left out.
     * Throws std::bad_weak_ptr if there is one and no std::shared_ptr holds the key pair.
     *
     * Kept(second-load): a second call appends them again.
     */
    void load() override;

    /** The lock is released before the reference is returned: the caller reads unguarded. */
    const std::vector<std::shared_ptr<certificate>>& get_certificates() const;

    /** Whether one of the certificates equals `c`. */
    bool has_certificate(const certificate& c) const;

private:
    std::weak_ptr<device> owner_;
    std::vector<std::shared_ptr<certificate>> certificates_;
};

}  // namespace vemra::crypto
