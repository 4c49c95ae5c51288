#include "floor_device.h"

#include <cstring>

#include "program.h"

namespace bench {

namespace {

constexpr std::size_t header_size = 5;
constexpr int sha256 = 0x7000;
constexpr unsigned char attributes[] = {0x04, 0x01, 0x03, 0x07, 0x00};

}  // namespace

block copy_of(const unsigned char* bytes, std::size_t size) {
    block copy{std::unique_ptr<unsigned char[]>(new unsigned char[size]), size};
    std::memcpy(copy.bytes.get(), bytes, size);
    return copy;
}

block zeroed_copy_of(const unsigned char* bytes, std::size_t size) {
    block copy{std::make_unique<unsigned char[]>(size), size};
    std::memcpy(copy.bytes.get(), bytes, size);
    return copy;
}

std::vector<VEMRA_PKI_DEVICE_HANDLE_st*> open_devices() {
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    require(list != nullptr, "no devices");
    std::vector<VEMRA_PKI_DEVICE_HANDLE_st*> devices;
    const int count = VemraPKICryptoGetDeviceCount(list);
    for (int i = 0; i < count; ++i) {
        devices.push_back(VemraPKICryptoGetDevice(list, i));
        VemraPKICryptoGetKeypairCount(devices.back());
    }
    return devices;
}

void close_devices(const std::vector<VEMRA_PKI_DEVICE_HANDLE_st*>& devices) {
    for (VEMRA_PKI_DEVICE_HANDLE_st* device : devices)
        VemraPKICryptoFreeDevice(device);
}

std::string serial_of(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    char* serial = nullptr;
    require(VemraPKICryptoGetSerialNumber(device, &serial) == 1, "serial number");
    std::string text(serial);
    VemraPKICryptoFreeMemory(serial);
    return text;
}

uuid_block uuid_of(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot) {
    const std::string serial = serial_of(device);
    const int type = VemraPKICryptoGetType(device);
    VEMRA_PKI_HASH_HANDLE_st* hash = VemraPKICryptoNewHash(device, sha256);
    VemraPKICryptoHashUpdate(hash, serial.data(), static_cast<int>(serial.size()));
    VemraPKICryptoHashUpdate(hash, &type, sizeof(type));
    VemraPKICryptoHashUpdate(hash, &slot, sizeof(slot));
    unsigned char* digest = nullptr;
    int length = 0;
    require(VemraPKICryptoHashFinal(hash, &digest, &length) == 1, "hash");
    uuid_block uuid = copy_of(digest, static_cast<std::size_t>(length));
    VemraPKICryptoFreeMemory(digest);
    VemraPKICryptoFreeHash(hash);
    return uuid;
}

int length_of(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot) {
    int length = 0;
    VemraPKICryptoGetDataLength(device, slot, &length);
    return length;
}

block read_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot) {
    const int length = length_of(device, slot);
    if (length == 0) return {};
    const auto buffer = std::make_unique<unsigned char[]>(static_cast<std::size_t>(length));
    int valid = 0;
    require(VemraPKICryptoReadData(device, slot, buffer.get(), length, &valid) == 1, "read");
    return copy_of(buffer.get(), static_cast<std::size_t>(valid));
}

void write_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot, const void* bytes, int size) {
    block backup;
    if (length_of(device, slot) != 0) backup = read_slot(device, slot);
    if (length_of(device, slot) != size) delete_slot(device, slot);
    if (length_of(device, slot) == 0) {
        require(VemraPKICryptoCreateData(device, slot, attributes, size) == 1, "create");
    }
    require(VemraPKICryptoWriteData(device, slot, bytes, size) == 1, "write");
}

void delete_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot) {
    if (length_of(device, slot) == 0) return;
    require(VemraPKICryptoDeleteData(device, slot) == 1, "delete");
}

slot_names read_mapping(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    const block record = read_slot(device, mapping_slot);
    slot_names names;
    if (record.size <= header_size) return names;
    const char* at = reinterpret_cast<const char*>(record.bytes.get()) + header_size;
    const char* end = reinterpret_cast<const char*>(record.bytes.get()) + record.size;
    while (at < end) {
        const auto* mark =
            static_cast<const char*>(std::memchr(at, '&', static_cast<std::size_t>(end - at)));
        require(mark != nullptr, "mapping");
        int slot = 0;
        const char* digit = mark + 1;
        for (; digit < end && *digit != '|'; ++digit)
            slot = slot * 10 + (*digit - '0');
        names.emplace_back(slot, std::string(at, mark));
        at = digit + 2;
    }
    return names;
}

void write_mapping(VEMRA_PKI_DEVICE_HANDLE_st* device, const slot_names& names) {
    std::string record(header_size, '\0');
    for (const auto& [slot, name] : names) {
        if (record.size() > header_size) record += "||";
        record += name;
        record += '&';
        record += std::to_string(slot);
    }
    const auto total = static_cast<unsigned int>(record.size());
    std::memcpy(record.data(), &total, sizeof(total));
    record[header_size - 1] = 1;
    write_slot(device, mapping_slot, record.data(), static_cast<int>(total));
}

}  // namespace bench
