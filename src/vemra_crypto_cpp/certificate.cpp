#include "vemra_crypto_cpp/certificate.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "vemra_crypto_cpp/library_buffer.h"

namespace vemra::crypto {

certificate::certificate(std::weak_ptr<keypair> owner, owner_t handle)
    : basic_object(std::move(handle)), owner_(std::move(owner)) {}

certificate::certificate(std::weak_ptr<keypair> owner, VEMRA_CERT_st* h, bool duplicate)
    : certificate(std::move(owner), own(duplicate ? VemraPKICertDupCert(h) : h)) {}

certificate::certificate(const void* der, const unsigned long& len)
    : certificate(std::weak_ptr<keypair>(), VemraPKICertNewCert(der, len), false) {}

bool certificate::equals(const certificate& other) const {
    if (get_handle() == other.get_handle()) return true;
    return VemraPKICertEqual(get_handle(), other.get_handle()) == 1;
}

std::string certificate::get_encode(encode_format_t format) const {
    unsigned char* p = nullptr;
    int n = 0;
    const int result = VemraPKICertGetCertEncode(get_handle(), static_cast<int>(format), &p, &n);
    const library_buffer<unsigned char> encoded(p);
    if (result != 1 || p == nullptr) return {};
    return std::string(reinterpret_cast<const char*>(p), static_cast<std::size_t>(std::max(n, 0)));
}

}  // namespace vemra::crypto
