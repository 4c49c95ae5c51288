#include "sweep/raw_slots.h"

#include <stdexcept>

#include "vemra_crypto.h"

namespace {

class open_device {
public:
    explicit open_device(int index)
        : handle_(VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), index)) {
        if (handle_ == nullptr) throw std::runtime_error("no device");
    }
    ~open_device() { VemraPKICryptoFreeDevice(handle_); }
    open_device(const open_device&) = delete;
    open_device& operator=(const open_device&) = delete;

    VEMRA_PKI_DEVICE_HANDLE_st* handle() const { return handle_; }

private:
    VEMRA_PKI_DEVICE_HANDLE_st* handle_;
};

void _require(int status, const char* what) {
    if (status != 1) throw std::runtime_error(what);
}

}  // namespace

std::map<int, std::string> raw_slots(int index) {
    const open_device device(index);
    std::map<int, std::string> result;
    for (int slot = 8126; slot < 8140; ++slot) {
        int length = 0;
        const int status = VemraPKICryptoGetDataLength(device.handle(), slot, &length);
        if (status == -7) continue;
        _require(status, "length of a slot");
        std::string& bytes = result[slot];
        bytes.resize(static_cast<std::size_t>(length));
        _require(
            VemraPKICryptoReadData(device.handle(), slot,
                                   reinterpret_cast<unsigned char*>(bytes.data()), length, &length),
            "bytes of a slot");
    }
    return result;
}

void fill_raw_slots(const std::map<int, std::string>& slots) {
    const open_device device(0);
    const unsigned char attributes[] = {4, 1, 3, 7};
    for (const auto& [slot, bytes] : slots) {
        const int length = static_cast<int>(bytes.size());
        _require(VemraPKICryptoCreateData(device.handle(), slot, attributes, length), "create");
        _require(VemraPKICryptoWriteData(device.handle(), slot, bytes.data(), length), "write");
    }
}

void erase_raw_slots(const std::set<int>& slots) {
    const open_device device(0);
    for (const int slot : slots)
        _require(VemraPKICryptoDeleteData(device.handle(), slot), "delete");
}
