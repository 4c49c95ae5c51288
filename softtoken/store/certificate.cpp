#include "store/certificate.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <climits>
#include <memory>

#include "store/failure.h"
#include "store/openssl_use.h"

namespace vemra::softtoken {

namespace {

template <typename T, void (*Free)(T*)>
struct _deleter {
    void operator()(T* object) const { Free(object); }
};

void _free_bio(BIO* bio) {
    BIO_free(bio);
}

using x509_owner = std::unique_ptr<X509, _deleter<X509, X509_free>>;
using key_owner = std::unique_ptr<EVP_PKEY, _deleter<EVP_PKEY, EVP_PKEY_free>>;
using pkcs8_owner =
    std::unique_ptr<PKCS8_PRIV_KEY_INFO, _deleter<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free>>;
using bio_owner = std::unique_ptr<BIO, _deleter<BIO, _free_bio>>;

void _require(bool done) {
    if (!done) throw failure(error_code::crypto_failed);
}

// Failures are answered in codes of our own; the program's queue of OpenSSL errors is left alone.
class _unqueued_errors {
public:
    _unqueued_errors() { ERR_set_mark(); }
    ~_unqueued_errors() { ERR_pop_to_mark(); }
    _unqueued_errors(const _unqueued_errors&) = delete;
    _unqueued_errors& operator=(const _unqueued_errors&) = delete;
};

x509_owner _parse(std::string_view der) {
    _unqueued_errors scope;
    const auto* position = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* end = position + der.size();
    x509_owner parsed(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
    if (parsed == nullptr || position != end) throw failure(error_code::bad_certificate);
    return parsed;
}

// Encodes with one of OpenSSL's i2d functions.
template <typename Object, typename Encode>
std::string _encode(Object* object, Encode encode) {
    int size = encode(object, nullptr);
    _require(size > 0);
    std::string der(static_cast<std::size_t>(size), '\0');
    auto* position = reinterpret_cast<unsigned char*>(der.data());
    _require(encode(object, &position) == size);
    return der;
}

std::string _contents(BIO* bio) {
    char* data = nullptr;
    long size = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

void _set_identity(X509* certificate, const std::string& common_name, int days) {
    std::uint64_t serial = 0;
    _require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
    _require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1) == 1);
    _require(X509_set_version(certificate, X509_VERSION_3) == 1);
    _require(X509_gmtime_adj(X509_getm_notBefore(certificate), 0) != nullptr);
    _require(X509_time_adj_ex(X509_getm_notAfter(certificate), days, 0, nullptr) != nullptr);
    X509_NAME* name = X509_get_subject_name(certificate);
    _require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                        reinterpret_cast<const unsigned char*>(common_name.c_str()),
                                        -1, -1, 0) == 1);
    _require(X509_set_issuer_name(certificate, name) == 1);
}

}  // namespace

std::string certificate_from_der(std::string_view der) {
    openssl_use use;
    if (der.size() > INT_MAX) throw failure(error_code::bad_certificate);
    return _encode(_parse(der).get(), i2d_X509);
}

std::vector<std::string> certificates_from_any(std::string_view bytes) {
    openssl_use use;
    if (bytes.size() > INT_MAX) throw failure(error_code::bad_certificate);
    _unqueued_errors scope;
    bio_owner input(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
    _require(input != nullptr);
    std::vector<std::string> found;
    while (x509_owner parsed{PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr)}) {
        found.push_back(_encode(parsed.get(), i2d_X509));
    }
    unsigned long reason = ERR_peek_last_error();
    bool is_end =
        ERR_GET_LIB(reason) == ERR_LIB_PEM && ERR_GET_REASON(reason) == PEM_R_NO_START_LINE;
    if (found.empty() && is_end) return {certificate_from_der(bytes)};
    if (!is_end) throw failure(error_code::bad_certificate);
    return found;
}

std::string certificate_to_pem(const std::string& der) {
    openssl_use use;
    bio_owner output(BIO_new(BIO_s_mem()));
    _require(output != nullptr);
    _require(PEM_write_bio_X509(output.get(), _parse(der).get()) == 1);
    return _contents(output.get());
}

bool same_certificate(const std::string& left, const std::string& right) {
    openssl_use use;
    return X509_cmp(_parse(left).get(), _parse(right).get()) == 0;
}

std::string public_key_of(const std::string& der) {
    openssl_use use;
    x509_owner parsed = _parse(der);
    return _encode(X509_get_X509_PUBKEY(parsed.get()), i2d_X509_PUBKEY);
}

std::string public_half_of(const std::string& private_key) {
    openssl_use use;
    _unqueued_errors scope;
    const auto* position = reinterpret_cast<const unsigned char*>(private_key.data());
    key_owner key(d2i_AutoPrivateKey(nullptr, &position, static_cast<long>(private_key.size())));
    _require(key != nullptr);
    return _encode(key.get(), i2d_PUBKEY);
}

std::string subject_of(const std::string& der) {
    openssl_use use;
    bio_owner output(BIO_new(BIO_s_mem()));
    _require(output != nullptr);
    x509_owner parsed = _parse(der);
    unsigned long flags = XN_FLAG_RFC2253;
    _require(X509_NAME_print_ex(output.get(), X509_get_subject_name(parsed.get()), 0, flags) >= 0);
    return _contents(output.get());
}

made_certificate make_certificate(const std::string& common_name, int days) {
    openssl_use use;
    key_owner key(EVP_EC_gen("P-256"));
    x509_owner certificate(X509_new());
    _require(key != nullptr && certificate != nullptr);
    _set_identity(certificate.get(), common_name, days);
    _require(X509_set_pubkey(certificate.get(), key.get()) == 1);
    _require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);
    pkcs8_owner private_key(EVP_PKEY2PKCS8(key.get()));
    _require(private_key != nullptr);
    return {_encode(private_key.get(), i2d_PKCS8_PRIV_KEY_INFO),
            _encode(certificate.get(), i2d_X509)};
}

}  // namespace vemra::softtoken
