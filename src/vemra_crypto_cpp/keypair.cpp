#include "vemra_crypto_cpp/keypair.h"

#include <utility>

#include "vemra_crypto_cpp/append_object.h"

namespace vemra::crypto {

using qo::base::scoped_lock;

keypair::keypair(std::weak_ptr<device> owner, owner_t handle)
    : basic_object(std::move(handle)), owner_(std::move(owner)) {}

keypair::keypair(std::weak_ptr<device> owner, VEMRA_PrivKey_Handle_st* h, bool duplicate)
    : keypair(std::move(owner), own(duplicate ? VemraPKICryptoDupKeypair(h) : h)) {}

void keypair::load() {
    const scoped_lock lock(*this);
    const int count = VemraPKICryptoGetCertificateCount(get_handle());
    for (int i = 0; i < count; ++i) {
        VEMRA_CERT_st* p = nullptr;
        if (VemraPKICryptoGetCertificate(get_handle(), i, &p) != 1) continue;
        certificate::owner_t handle = certificate::own(p);
        std::weak_ptr<keypair> self = shared_from_this();
        append_object<on_append::nothing>(certificates_, std::move(self), std::move(handle));
    }
}

const std::vector<std::shared_ptr<certificate>>& keypair::get_certificates() const {
    const scoped_lock lock(*this);
    return certificates_;
}

bool keypair::has_certificate(const certificate& c) const {
    const scoped_lock lock(*this);
    for (const auto& item : certificates_) {
        if (item == nullptr || item->get_handle() == nullptr) continue;
        if (item->equals(c)) return true;
    }
    return false;
}

}  // namespace vemra::crypto
