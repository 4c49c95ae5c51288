/*
 * Opens the library named by the argument twice in a row; frees a device handle before dlclose the
 * first time and after it the second time. Prints the serial number each time, and "done".
 */
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "vemra_crypto.h"

namespace {

template <typename Function>
Function* _find(void* library, const char* name) {
    void* address = dlsym(library, name);
    if (address == nullptr) std::exit(2);
    return reinterpret_cast<Function*>(address);
}

void _use(const char* path, bool free_first) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) std::exit(3);
    auto* all =
        _find<decltype(VemraPKICryptoGetAllDevices)>(library, "VemraPKICryptoGetAllDevices");
    auto* get = _find<decltype(VemraPKICryptoGetDevice)>(library, "VemraPKICryptoGetDevice");
    auto* serial =
        _find<decltype(VemraPKICryptoGetSerialNumber)>(library, "VemraPKICryptoGetSerialNumber");
    auto* free_memory =
        _find<decltype(VemraPKICryptoFreeMemory)>(library, "VemraPKICryptoFreeMemory");
    auto* free_device =
        _find<decltype(VemraPKICryptoFreeDevice)>(library, "VemraPKICryptoFreeDevice");

    VEMRA_PKI_DEVICE_HANDLE_st* device = get(all(-1, 0), 0);
    char* text = nullptr;
    if (serial(device, &text) != 1) std::exit(4);
    std::printf("%s\n", text);
    free_memory(text);
    if (free_first) free_device(device);
    dlclose(library);
    if (!free_first) free_device(device);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 1;
    _use(argv[1], true);
    _use(argv[1], false);
    std::printf("done\n");
    return 0;
}
