// raw_slot SERIAL PASSWORD write SLOT < bytes, raw_slot SERIAL PASSWORD delete SLOT,
// raw_slot SERIAL PASSWORD read SLOT > bytes: through the device library alone.

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>

#include "vemra_crypto.h"

namespace {

VEMRA_PKI_DEVICE_HANDLE_st* _find(const std::string& serial) {
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    for (int i = 0; i < VemraPKICryptoGetDeviceCount(list); ++i) {
        VEMRA_PKI_DEVICE_HANDLE_st* device = VemraPKICryptoGetDevice(list, i);
        char* found = nullptr;
        VemraPKICryptoGetSerialNumber(device, &found);
        const bool is_wanted = found != nullptr && serial == found;
        VemraPKICryptoFreeMemory(found);
        if (is_wanted) return device;
        VemraPKICryptoFreeDevice(device);
    }
    return nullptr;
}

bool _write(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot) {
    const std::string bytes(std::istreambuf_iterator<char>(std::cin), {});
    const int size = static_cast<int>(bytes.size());
    const unsigned char attributes[] = {0x04, 0x01, 0x03, 0x07, 0x00};
    VemraPKICryptoDeleteData(device, slot);
    return VemraPKICryptoCreateData(device, slot, attributes, size) == 1 &&
           VemraPKICryptoWriteData(device, slot, bytes.data(), size) == 1;
}

bool _read(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot) {
    int size = 0;
    if (VemraPKICryptoGetDataLength(device, slot, &size) != 1) return false;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    int read = 0;
    auto* buffer = reinterpret_cast<unsigned char*>(bytes.data());
    if (VemraPKICryptoReadData(device, slot, buffer, size, &read) != 1) return false;
    std::cout << bytes;
    return true;
}

bool _run(VEMRA_PKI_DEVICE_HANDLE_st* device, const std::string& action, int slot) {
    if (action == "write") return _write(device, slot);
    if (action == "delete") return VemraPKICryptoDeleteData(device, slot) == 1;
    return _read(device, slot);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    VEMRA_PKI_DEVICE_HANDLE_st* device = _find(argv[1]);
    if (device == nullptr) return 3;
    int retries = 0;
    if (VemraPKICryptoVerifyPwd(device, 1, argv[2], &retries) != 1) return 4;
    const bool is_done = _run(device, argv[3], std::atoi(argv[4]));
    VemraPKICryptoFreeDevice(device);
    return is_done ? 0 : 1;
}
