#include "memory_device.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>

#pragma GCC visibility push(default)
#include "vemra_crypto.h"
#pragma GCC visibility pop

namespace {

constexpr int done = 1;
constexpr int failed = -1;
constexpr int no_such_slot = -7;
constexpr int device_type = 1;
constexpr std::size_t digest_length = 32;

struct memory_device {
    std::string serial;
    std::map<int, std::string> slots;
};

}  // namespace

// Devices that are detached keep their slots; handles to them stay good.
struct VEMRA_PKI_DEVICE_LIST_st {
    std::deque<memory_device> devices;
    int attached;
};
struct VEMRA_PKI_DEVICE_HANDLE_st {
    memory_device* device;
};
struct VEMRA_PKI_HASH_HANDLE_st {
    std::uint64_t state[digest_length / sizeof(std::uint64_t)];
};

namespace {

std::string* noted_calls = nullptr;

void _note(const char* function, int slot = 0, int size = 0) {
    if (noted_calls == nullptr) return;
    char line[96];
    std::snprintf(line, sizeof(line), "%s %d %d\n", function, slot, size);
    *noted_calls += line;
}

std::string _serial(int number) {
    char serial[32];
    std::snprintf(serial, sizeof(serial), "BENCH-%04d", number);
    return serial;
}

VEMRA_PKI_DEVICE_LIST_st& _attached() {
    static VEMRA_PKI_DEVICE_LIST_st list{{{_serial(1), {}}}, 1};
    return list;
}

template <typename Byte>
Byte* _copy(const void* bytes, std::size_t size) {
    void* copy = std::malloc(size);
    if (copy != nullptr) std::memcpy(copy, bytes, size);
    return static_cast<Byte*>(copy);
}

}  // namespace

void memory_device_attach(int count) {
    std::deque<memory_device>& devices = _attached().devices;
    for (int known = static_cast<int>(devices.size()); known < count; ++known)
        devices.push_back({_serial(known + 1), {}});
    _attached().attached = count;
}

void memory_device_rename_first(int number) {
    _attached().devices.front().serial = _serial(number);
}

void memory_device_note_calls(std::string* calls) {
    noted_calls = calls;
}

VEMRA_PKI_DEVICE_LIST_st* VemraPKICryptoGetAllDevices(int type, int flags) {
    _note(__func__, type, flags);
    return &_attached();
}

int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list) {
    _note(__func__);
    return list->attached;
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetDevice(VEMRA_PKI_DEVICE_LIST_st* list, int index) {
    _note(__func__, index);
    return new VEMRA_PKI_DEVICE_HANDLE_st{&list->devices[static_cast<std::size_t>(index)]};
}

int VemraPKICryptoFreeDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    _note(__func__);
    delete device;
    return done;
}

int VemraPKICryptoGetType(VEMRA_PKI_DEVICE_HANDLE_st* /*device*/) {
    _note(__func__);
    return device_type;
}

int VemraPKICryptoGetSerialNumber(VEMRA_PKI_DEVICE_HANDLE_st* device, char** out) {
    _note(__func__);
    const std::string& serial = device->device->serial;
    *out = _copy<char>(serial.c_str(), serial.size() + 1);
    return done;
}

int VemraPKICryptoVerifyPwd(VEMRA_PKI_DEVICE_HANDLE_st* /*device*/, int /*type*/,
                            const char* /*password*/, int* /*retries*/) {
    _note(__func__);
    return done;
}

int VemraPKICryptoGetDataLength(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int* len) {
    _note(__func__, id);
    const auto found = device->device->slots.find(id);
    if (found == device->device->slots.end()) return no_such_slot;
    *len = static_cast<int>(found->second.size());
    return done;
}

int VemraPKICryptoReadData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, unsigned char* buf,
                           int buf_len, int* out_len) {
    _note(__func__, id, buf_len);
    const auto found = device->device->slots.find(id);
    if (found == device->device->slots.end()) return no_such_slot;
    if (found->second.size() > static_cast<std::size_t>(buf_len)) return failed;
    found->second.copy(reinterpret_cast<char*>(buf), found->second.size());
    *out_len = static_cast<int>(found->second.size());
    return done;
}

int VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                             const unsigned char* /*attributes*/, int size) {
    _note(__func__, id, size);
    device->device->slots[id].assign(static_cast<std::size_t>(size), '\0');
    return done;
}

int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len) {
    _note(__func__, id, len);
    const auto found = device->device->slots.find(id);
    if (found == device->device->slots.end()) return no_such_slot;
    if (found->second.size() != static_cast<std::size_t>(len)) return failed;
    std::memcpy(found->second.data(), data, found->second.size());
    return done;
}

int VemraPKICryptoDeleteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id) {
    _note(__func__, id);
    return device->device->slots.erase(id) == 1 ? done : no_such_slot;
}

int VemraPKICryptoGetKeypairCount(VEMRA_PKI_DEVICE_HANDLE_st* /*device*/) {
    _note(__func__);
    return 0;
}

VEMRA_PKI_HASH_HANDLE_st* VemraPKICryptoNewHash(VEMRA_PKI_DEVICE_HANDLE_st* /*device*/,
                                                int algorithm) {
    _note(__func__, algorithm);
    return new VEMRA_PKI_HASH_HANDLE_st{{1, 2, 3, 4}};
}

// Not a good hash: four runs of a simple one, each begun differently.
int VemraPKICryptoHashUpdate(VEMRA_PKI_HASH_HANDLE_st* hash, const void* data, int len) {
    _note(__func__, 0, len);
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::uint64_t& state : hash->state) {
        for (int i = 0; i < len; ++i)
            state = (state ^ bytes[i]) * 0x100000001b3U;
    }
    return done;
}

int VemraPKICryptoHashFinal(VEMRA_PKI_HASH_HANDLE_st* hash, unsigned char** out, int* len) {
    _note(__func__);
    *out = _copy<unsigned char>(hash->state, digest_length);
    *len = static_cast<int>(digest_length);
    return done;
}

int VemraPKICryptoFreeHash(VEMRA_PKI_HASH_HANDLE_st* hash) {
    _note(__func__);
    delete hash;
    return done;
}

int VemraPKICryptoFreeMemory(void* memory) {
    _note(__func__);
    std::free(memory);
    return done;
}

int VemraPKIGetLastError(void) {
    return failed;
}

const char* VemraPKIGetErrorMsg(int /*code*/) {
    return "the memory device failed";
}
