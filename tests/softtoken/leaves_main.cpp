/*
 * Leaves the process while the first device is at work.
 *
 *     leaves_main [openssl] MICROSECONDS   leaves main so long after four threads have begun to
 *                                          verify the password, hash and read a certificate
 *     leaves_main [openssl] destructor     verifies the password in a static object's destructor,
 *                                          and prints the result
 *
 * With "openssl" the program has started OpenSSL itself, which then ends with the process.
 */
#include <openssl/crypto.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "vemra_crypto.h"

namespace {

constexpr const char* password = "correct horse";

int _verify(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    int retries = 0;
    return VemraPKICryptoVerifyPwd(device, 1, password, &retries);
}

void _hash(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    static std::array<unsigned char, 1 << 20> bytes;
    unsigned char* result = nullptr;
    int length = 0;
    VEMRA_PKI_HASH_HANDLE_st* hash = VemraPKICryptoNewHash(device, 0x7000);
    if (hash == nullptr) return;
    VemraPKICryptoHashUpdate(hash, bytes.data(), static_cast<int>(bytes.size()));
    if (VemraPKICryptoHashFinal(hash, &result, &length) == 1) VemraPKICryptoFreeMemory(result);
    VemraPKICryptoFreeHash(hash);
}

struct kept_device {
    VEMRA_PKI_DEVICE_HANDLE_st* device = nullptr;
    bool verifies = false;

    ~kept_device() {
        if (!verifies) return;
        const std::string told = std::to_string(_verify(device)) + "\n";
        if (write(STDOUT_FILENO, told.data(), told.size()) < 0) _exit(3);
    }
};

// Made before the library or OpenSSL make anything, so destroyed after them.
kept_device kept;

void _work_for_ever(int number) {
    for (;;)
        number % 2 == 0 ? static_cast<void>(_verify(kept.device)) : _hash(kept.device);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[1], "openssl") == 0)
        OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
    const char* mode = argv[argc - 1];
    kept.device = VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
    if (kept.device == nullptr || _verify(kept.device) != 1) return 1;
    if (std::strcmp(mode, "destructor") == 0) {
        kept.verifies = true;
        return 0;
    }
    for (int number = 0; number < 4; ++number)
        std::thread(_work_for_ever, number).detach();
    usleep(static_cast<useconds_t>(std::atoi(mode)));
    return 0;
}
