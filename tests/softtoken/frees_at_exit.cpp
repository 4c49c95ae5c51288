/*
 * Reads slot 8130 of the first device and frees a device handle, a hash handle and a text in a
 * static destructor, which runs after everything that was made later is gone. Prints the slot's
 * bytes and "freed".
 */
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string_view>

#include "vemra_crypto.h"

namespace {

void _print(std::string_view text) {
    if (write(STDOUT_FILENO, text.data(), text.size()) < 0) _exit(3);
}

struct handles {
    VEMRA_PKI_DEVICE_HANDLE_st* device = nullptr;
    VEMRA_PKI_HASH_HANDLE_st* hash = nullptr;
    char* memory = nullptr;

    ~handles() {
        VemraPKICryptoFreeHash(hash);
        VemraPKICryptoFreeMemory(memory);
        VemraPKICryptoFreeDevice(device);
        _print("freed\n");
    }
};

// Made before the library or OpenSSL make anything, so destroyed after them.
handles kept;

}  // namespace

int main() {
    kept.device = VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
    kept.hash = VemraPKICryptoNewHash(kept.device, 0x7000);
    VemraPKICryptoHashUpdate(kept.hash, "abc", 3);
    VemraPKICryptoGetSerialNumber(kept.device, &kept.memory);
    std::array<unsigned char, 64> bytes{};
    int length = 0;
    int result = VemraPKICryptoReadData(kept.device, 8130, bytes.data(), 64, &length);
    if (result != 1 || kept.hash == nullptr || kept.memory == nullptr) return 1;
    _print({reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length)});
    _print("\n");
    return 0;
}
