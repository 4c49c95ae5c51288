/** The exported functions for key pairs and certificates. */
#include <algorithm>
#include <limits>

#include "library/call.h"
#include "library/exports.h"
#include "library/handles.h"
#include "library/memory.h"
#include "store/certificate.h"

using namespace vemra::softtoken;

namespace {

enum encode_format { format_der = 1, format_pem = 2 };

std::string _encoded(const std::string& der, int format) {
    switch (format) {
        case format_der:
            return der;
        case format_pem:
            return certificate_to_pem(der);
        default:
            throw failure(error_code::unknown_format);
    }
}

}  // namespace

VEMRA_PrivKey_Handle_st* VemraPKICryptoDupKeypair(VEMRA_PrivKey_Handle_st* keypair) {
    return pointer_call({__func__}, token_of(keypair), [=](running_call&) {
        return new VEMRA_PrivKey_Handle_st(required(keypair));
    });
}

int VemraPKICryptoFreeKeypair(VEMRA_PrivKey_Handle_st* keypair) {
    return release_call({__func__}, [=] { give_back(keypair); });
}

int VemraPKICryptoGetCertificateCount(VEMRA_PrivKey_Handle_st* keypair) {
    return number_call({__func__}, token_of(keypair), [=](running_call& call) {
        return required(keypair).token->certificate_count(call, keypair->state, keypair->keypair);
    });
}

int VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index, VEMRA_CERT_st** out) {
    return status_call({__func__}, token_of(keypair), [=](running_call& call) {
        token& stored = *required(keypair).token;
        require_argument(out != nullptr);
        *out =
            new VEMRA_CERT_st{stored.certificate_at(call, keypair->state, keypair->keypair, index)};
    });
}

VEMRA_CERT_st* VemraPKICertNewCert(const void* der, unsigned long len) {
    int shown = static_cast<int>(std::min<unsigned long>(len, std::numeric_limits<int>::max()));
    return pointer_call({__func__, -1, shown}, nullptr, [=](running_call&) {
        require_argument(der != nullptr);
        return new VEMRA_CERT_st{certificate_from_der({static_cast<const char*>(der), len})};
    });
}

VEMRA_CERT_st* VemraPKICertDupCert(VEMRA_CERT_st* certificate) {
    return pointer_call({__func__}, nullptr,
                        [=](running_call&) { return new VEMRA_CERT_st(required(certificate)); });
}

int VemraPKICertFreeCert(VEMRA_CERT_st* certificate) {
    return release_call({__func__}, [=] { give_back(certificate); });
}

int VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right) {
    return number_call({__func__}, nullptr, [=](running_call&) {
        return same_certificate(required(left).der, required(right).der) ? 1 : 0;
    });
}

int VemraPKICertGetCertEncode(VEMRA_CERT_st* certificate, int format, unsigned char** out,
                              int* len) {
    return status_call({__func__}, nullptr, [=](running_call& call) {
        const std::string& der = required(certificate).der;
        require_argument(out != nullptr && len != nullptr);
        std::string encoded = _encoded(der, format);
        *out = copy_for_caller<unsigned char>(encoded);
        *len = call.tell_length(static_cast<int>(encoded.size()));
    });
}
