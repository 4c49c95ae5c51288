#include "sweep/gate/device_gate.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

using device_gate::call;
using device_gate::moment;

// Never destroyed: handles are released while the process exits.
std::function<void(const call&, moment)>& _watcher() {
    static auto* const watcher = new std::function<void(const call&, moment)>;
    return *watcher;
}

void* _symbol(const char* function) {
    static void* const library = dlopen(VEMRA_SOFTTOKEN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    void* symbol = library == nullptr ? nullptr : dlsym(library, function);
    if (symbol != nullptr) return symbol;
    std::fprintf(stderr, "device gate: %s\n", dlerror());
    std::abort();
}

void _tell(const call& passing, moment when) {
    // What the watcher itself asks of the devices passes unwatched.
    const std::function<void(const call&, moment)> watcher = std::exchange(_watcher(), {});
    if (watcher) watcher(passing, when);
    if (!_watcher()) _watcher() = watcher;
}

/** The call that the exported function of the same type makes in the software token. */
template <typename Result, typename... Declared, typename... Given>
Result _pass(const call& passing, Result (*)(Declared...), Given... arguments) {
    _tell(passing, moment::before);
    const auto real = reinterpret_cast<Result (*)(Declared...)>(_symbol(passing.function));
    Result result = real(arguments...);
    _tell(passing, moment::after);
    return result;
}

call _on(const char* function, VEMRA_PKI_DEVICE_HANDLE_st* device = nullptr, int slot = -1,
         const void* data = nullptr, int length = 0) {
    return {function, device, slot, data, length};
}

}  // namespace

void device_gate::watch(const std::function<void(const call&, moment)>& watcher) {
    _watcher() = watcher;
}

bool device_gate::is_release(const call& passing) {
    return std::strstr(passing.function, "Free") != nullptr;
}

VEMRA_PKI_DEVICE_LIST_st* VemraPKICryptoGetAllDevices(int type, int flags) {
    return _pass(_on(__func__), VemraPKICryptoGetAllDevices, type, flags);
}

int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list) {
    return _pass(_on(__func__), VemraPKICryptoGetDeviceCount, list);
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetDevice(VEMRA_PKI_DEVICE_LIST_st* list, int index) {
    return _pass(_on(__func__), VemraPKICryptoGetDevice, list, index);
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetPseudoDevice(void) {
    return _pass(_on(__func__), VemraPKICryptoGetPseudoDevice);
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoDupDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return _pass(_on(__func__, device), VemraPKICryptoDupDevice, device);
}

int VemraPKICryptoFreeDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return _pass(_on(__func__, device), VemraPKICryptoFreeDevice, device);
}

int VemraPKICryptoGetType(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return _pass(_on(__func__, device), VemraPKICryptoGetType, device);
}

int VemraPKICryptoGetSerialNumber(VEMRA_PKI_DEVICE_HANDLE_st* device, char** out) {
    return _pass(_on(__func__, device), VemraPKICryptoGetSerialNumber, device, out);
}

int VemraPKICryptoVerifyPwd(VEMRA_PKI_DEVICE_HANDLE_st* device, int type, const char* password,
                            int* retries) {
    return _pass(_on(__func__, device), VemraPKICryptoVerifyPwd, device, type, password, retries);
}

int VemraPKICryptoGetDataLength(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int* len) {
    return _pass(_on(__func__, device, id), VemraPKICryptoGetDataLength, device, id, len);
}

int VemraPKICryptoReadData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, unsigned char* buf,
                           int buf_len, int* out_len) {
    return _pass(_on(__func__, device, id), VemraPKICryptoReadData, device, id, buf, buf_len,
                 out_len);
}

int VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                             const unsigned char* attributes, int size) {
    return _pass(_on(__func__, device, id), VemraPKICryptoCreateData, device, id, attributes, size);
}

int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len) {
    return _pass(_on(__func__, device, id, data, len), VemraPKICryptoWriteData, device, id, data,
                 len);
}

int VemraPKICryptoDeleteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id) {
    return _pass(_on(__func__, device, id), VemraPKICryptoDeleteData, device, id);
}

int VemraPKICryptoGetKeypairCount(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return _pass(_on(__func__, device), VemraPKICryptoGetKeypairCount, device);
}

VEMRA_PrivKey_Handle_st* VemraPKICryptoGetKeypair(VEMRA_PKI_DEVICE_HANDLE_st* device, int index) {
    return _pass(_on(__func__, device), VemraPKICryptoGetKeypair, device, index);
}

VEMRA_PrivKey_Handle_st* VemraPKICryptoDupKeypair(VEMRA_PrivKey_Handle_st* keypair) {
    return _pass(_on(__func__), VemraPKICryptoDupKeypair, keypair);
}

int VemraPKICryptoFreeKeypair(VEMRA_PrivKey_Handle_st* keypair) {
    return _pass(_on(__func__), VemraPKICryptoFreeKeypair, keypair);
}

int VemraPKICryptoGetCertificateCount(VEMRA_PrivKey_Handle_st* keypair) {
    return _pass(_on(__func__), VemraPKICryptoGetCertificateCount, keypair);
}

int VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index, VEMRA_CERT_st** out) {
    return _pass(_on(__func__), VemraPKICryptoGetCertificate, keypair, index, out);
}

VEMRA_CERT_st* VemraPKICertNewCert(const void* der, unsigned long len) {
    return _pass(_on(__func__), VemraPKICertNewCert, der, len);
}

VEMRA_CERT_st* VemraPKICertDupCert(VEMRA_CERT_st* certificate) {
    return _pass(_on(__func__), VemraPKICertDupCert, certificate);
}

int VemraPKICertFreeCert(VEMRA_CERT_st* certificate) {
    return _pass(_on(__func__), VemraPKICertFreeCert, certificate);
}

int VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right) {
    return _pass(_on(__func__), VemraPKICertEqual, left, right);
}

int VemraPKICertGetCertEncode(VEMRA_CERT_st* certificate, int format, unsigned char** out,
                              int* len) {
    return _pass(_on(__func__), VemraPKICertGetCertEncode, certificate, format, out, len);
}

VEMRA_PKI_HASH_HANDLE_st* VemraPKICryptoNewHash(VEMRA_PKI_DEVICE_HANDLE_st* device, int algorithm) {
    return _pass(_on(__func__, device), VemraPKICryptoNewHash, device, algorithm);
}

int VemraPKICryptoHashUpdate(VEMRA_PKI_HASH_HANDLE_st* hash, const void* data, int len) {
    return _pass(_on(__func__), VemraPKICryptoHashUpdate, hash, data, len);
}

int VemraPKICryptoHashFinal(VEMRA_PKI_HASH_HANDLE_st* hash, unsigned char** out, int* len) {
    return _pass(_on(__func__), VemraPKICryptoHashFinal, hash, out, len);
}

int VemraPKICryptoFreeHash(VEMRA_PKI_HASH_HANDLE_st* hash) {
    return _pass(_on(__func__), VemraPKICryptoFreeHash, hash);
}

int VemraPKICryptoFreeMemory(void* memory) {
    return _pass(_on(__func__), VemraPKICryptoFreeMemory, memory);
}

int VemraPKIGetLastError(void) {
    return _pass(_on(__func__), VemraPKIGetLastError);
}

const char* VemraPKIGetErrorMsg(int code) {
    return _pass(_on(__func__), VemraPKIGetErrorMsg, code);
}
