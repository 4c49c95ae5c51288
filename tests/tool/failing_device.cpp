// Preloaded before the device library: makes its nth write, or every write from then on, fail, lie
// or take long. FAILING_DEVICE_FAULT is "ACTION NUMBER": fail 2, fail-from 1, lose 1 (says that it
// wrote and did not), garble 1 (writes other bytes), slow MILLISECONDS (every write), hide 1 (from
// the nth write on, there are no devices any more).

#include <dlfcn.h>
#include <unistd.h>

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

bool _is_now() {
    return g_writes == _fault().number;
}

}  // namespace

extern "C" {

int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len) {
    auto* write = _real<decltype(VemraPKICryptoWriteData)>("VemraPKICryptoWriteData");
    ++g_writes;
    const std::string& action = _fault().action;
    if (action == "fail" && _is_now()) return -122;
    if (action == "fail-from" && g_writes >= _fault().number) return -122;
    if (action == "lose" && _is_now()) return 1;
    if (action == "garble" && _is_now()) {
        const std::string other(static_cast<std::size_t>(len), '?');
        return write(device, id, other.data(), len);
    }
    if (action == "slow") usleep(static_cast<useconds_t>(_fault().number) * 1000);
    return write(device, id, data, len);
}

int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list) {
    if (_fault().action == "hide" && g_writes >= _fault().number) return 0;
    return _real<decltype(VemraPKICryptoGetDeviceCount)>("VemraPKICryptoGetDeviceCount")(list);
}
}
