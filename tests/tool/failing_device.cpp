// Preloaded before the device library, for what the software token's own faults cannot say: its
// writes come through or not, and what is pulled out fails the call. FAILING_DEVICE_FAULT is
// "ACTION NUMBER": garble 1 (that write stores other bytes than it was given, and says that all is
// well), hide 1 (from that write on every write arrives, and there are no devices to be listed).

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "vemra_crypto.h"

namespace {

struct fault {
    std::string action;
    int number = 0;
};

fault _read_fault() {
    fault wanted;
    const char* text = std::getenv("FAILING_DEVICE_FAULT");
    if (text == nullptr) return wanted;
    const std::string words = text;
    const std::size_t space = words.find(' ');
    wanted.action = words.substr(0, space);
    wanted.number = std::atoi(words.substr(space + 1).c_str());
    return wanted;
}

const fault& _fault() {
    static const fault the_fault = _read_fault();
    return the_fault;
}

int g_writes = 0;

template <typename Function>
Function* _real(const char* name) {
    void* library = dlopen("libvemra_crypto.so.1", RTLD_LAZY | RTLD_NOLOAD);
    return reinterpret_cast<Function*>(dlsym(library, name));
}

}  // namespace

extern "C" {

int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len) {
    auto* write = _real<decltype(VemraPKICryptoWriteData)>("VemraPKICryptoWriteData");
    ++g_writes;
    if (_fault().action == "garble" && g_writes == _fault().number) {
        const std::string other(static_cast<std::size_t>(len), '?');
        return write(device, id, other.data(), len);
    }
    return write(device, id, data, len);
}

int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list) {
    if (_fault().action == "hide" && g_writes >= _fault().number) return 0;
    return _real<decltype(VemraPKICryptoGetDeviceCount)>("VemraPKICryptoGetDeviceCount")(list);
}
}
