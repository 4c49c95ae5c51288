#include "vemra_crypto_cpp/keypair.h"

#include <new>
#include <utility>

namespace vemra::crypto {

using qo::base::scoped_lock;

keypair::keypair(std::weak_ptr<device> owner, owner_t handle)
    : basic_object(std::move(handle)), owner_(std::move(owner)) {}

keypair::keypair(std::weak_ptr<device> owner, VEMRA_PrivKey_Handle_st* h, bool duplicate)
    : keypair(std::move(owner), own(duplicate ? VemraPKICryptoDupKeypair(h) : h)) {}

keypair::owner_t keypair::own(VEMRA_PrivKey_Handle_st* h) {
    return owner_t(h, [](VEMRA_PrivKey_Handle_st* handle) { VemraPKICryptoFreeKeypair(handle); });
}

void keypair::load() {
    const scoped_lock lock(*this);
    const int count = VemraPKICryptoGetCertificateCount(get_handle());
    for (int i = 0; i < count; ++i) {
        VEMRA_CERT_st* p = nullptr;
        if (VemraPKICryptoGetCertificate(get_handle(), i, &p) != 1) continue;
        certificate::owner_t handle = certificate::own(p);
        std::weak_ptr<keypair> self = shared_from_this();
        std::shared_ptr<certificate> item(new (std::nothrow)
                                              certificate(std::move(self), std::move(handle)));
        if (item == nullptr) throw std::bad_alloc();
        certificates_.push_back(std::move(item));
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
