// Key pairs and certificates of the fake's devices.

#include "support/fake_call.h"

namespace {

VEMRA_PrivKey_Handle_st* _new_keypair(fake_state& state, const std::string& name,
                                      const fake_keypair& keypair) {
    VEMRA_PrivKey_Handle_st& handle = state.keypair_handles.emplace_back();
    handle.generation = state.generation;
    handle.name = name;
    handle.keypair = keypair;
    return &handle;
}

VEMRA_CERT_st* _new_certificate(fake_state& state, const std::string& name,
                                const std::string& der) {
    VEMRA_CERT_st& handle = state.certificate_handles.emplace_back();
    handle.generation = state.generation;
    handle.name = name;
    handle.der = der;
    return &handle;
}

template <typename Items>
bool _has_index(const Items& items, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < items.size();
}

}  // namespace

int VemraPKICryptoGetKeypairCount(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    const call_scope scope;
    return perform("VemraPKICryptoGetKeypairCount", {text(device)}, 0, [device](fake_state& state) {
        if (!state.is_usable(device, "VemraPKICryptoGetKeypairCount")) return 0;
        return static_cast<int>(device->device->keypairs.size());
    });
}

VEMRA_PrivKey_Handle_st* VemraPKICryptoGetKeypair(VEMRA_PKI_DEVICE_HANDLE_st* device, int index) {
    const call_scope scope;
    return perform<VEMRA_PrivKey_Handle_st*>(
        "VemraPKICryptoGetKeypair", {text(device), text(index)}, nullptr,
        [=](fake_state& state) -> VEMRA_PrivKey_Handle_st* {
            if (!state.is_usable(device, "VemraPKICryptoGetKeypair")) return nullptr;
            const std::vector<fake_keypair>& keypairs = device->device->keypairs;
            if (!_has_index(keypairs, index)) return nullptr;
            return _new_keypair(state, device->name + "/key " + std::to_string(index),
                                keypairs[static_cast<std::size_t>(index)]);
        });
}

VEMRA_PrivKey_Handle_st* VemraPKICryptoDupKeypair(VEMRA_PrivKey_Handle_st* keypair) {
    const call_scope scope;
    return perform<VEMRA_PrivKey_Handle_st*>(
        "VemraPKICryptoDupKeypair", {text(keypair)}, nullptr,
        [keypair](fake_state& state) -> VEMRA_PrivKey_Handle_st* {
            if (!state.is_usable(keypair, "VemraPKICryptoDupKeypair")) return nullptr;
            return _new_keypair(state, keypair->name, keypair->keypair);
        });
}

int VemraPKICryptoFreeKeypair(VEMRA_PrivKey_Handle_st* keypair) {
    const call_scope scope;
    return perform_release("VemraPKICryptoFreeKeypair", text(keypair), keypair);
}

int VemraPKICryptoGetCertificateCount(VEMRA_PrivKey_Handle_st* keypair) {
    const call_scope scope;
    return perform("VemraPKICryptoGetCertificateCount", {text(keypair)}, 0,
                   [keypair](fake_state& state) {
                       if (!state.is_usable(keypair, "VemraPKICryptoGetCertificateCount")) return 0;
                       return static_cast<int>(keypair->keypair.certificates.size());
                   });
}

int VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index, VEMRA_CERT_st** out) {
    const call_scope scope;
    return perform_status("VemraPKICryptoGetCertificate", {text(keypair), text(index), text(*out)},
                          [=](fake_state& state) {
                              if (!state.is_usable(keypair, "VemraPKICryptoGetCertificate")) {
                                  return fake_device_library::bad_handle;
                              }
                              const std::vector<std::string>& all = keypair->keypair.certificates;
                              if (!_has_index(all, index)) return fake_device_library::bad_index;
                              *out = _new_certificate(
                                  state, keypair->name + "/certificate " + std::to_string(index),
                                  all[static_cast<std::size_t>(index)]);
                              return 1;
                          });
}

VEMRA_CERT_st* VemraPKICertNewCert(const void* der, unsigned long len) {
    const call_scope scope;
    return perform<VEMRA_CERT_st*>(
        "VemraPKICertNewCert", {text(der, static_cast<long>(len)), std::to_string(len)}, nullptr,
        [=](fake_state& state) -> VEMRA_CERT_st* {
            if (der == nullptr || len == 0) return nullptr;
            return _new_certificate(state, "certificate",
                                    std::string(static_cast<const char*>(der), len));
        });
}

VEMRA_CERT_st* VemraPKICertDupCert(VEMRA_CERT_st* certificate) {
    const call_scope scope;
    return perform<VEMRA_CERT_st*>("VemraPKICertDupCert", {text(certificate)}, nullptr,
                                   [certificate](fake_state& state) -> VEMRA_CERT_st* {
                                       if (!state.is_usable(certificate, "VemraPKICertDupCert"))
                                           return nullptr;
                                       return _new_certificate(state, certificate->name,
                                                               certificate->der);
                                   });
}

int VemraPKICertFreeCert(VEMRA_CERT_st* certificate) {
    const call_scope scope;
    return perform_release("VemraPKICertFreeCert", text(certificate), certificate);
}

int VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right) {
    const call_scope scope;
    return perform("VemraPKICertEqual", {text(left), text(right)}, 0, [=](fake_state& state) {
        const bool are_usable = state.is_usable(left, "VemraPKICertEqual") &&
                                state.is_usable(right, "VemraPKICertEqual");
        return are_usable && left->der == right->der ? 1 : 0;
    });
}

int VemraPKICertGetCertEncode(VEMRA_CERT_st* certificate, int format, unsigned char** out,
                              int* len) {
    const call_scope scope;
    return perform_status(
        "VemraPKICertGetCertEncode",
        {text(certificate), text(format), text(reinterpret_cast<const char*>(*out)), text(*len)},
        [=](fake_state& state) {
            fake_output answer;
            if (state.encoding_answer) {
                answer = *state.encoding_answer;
            } else if (!state.is_usable(certificate, "VemraPKICertGetCertEncode")) {
                answer.result = fake_device_library::bad_handle;
            } else {
                answer.bytes = certificate->der;
                answer.length = static_cast<int>(certificate->der.size());
            }
            if (answer.bytes) *out = state.new_buffer("encoding", *answer.bytes);
            *len = answer.length;
            return answer.result;
        });
}
