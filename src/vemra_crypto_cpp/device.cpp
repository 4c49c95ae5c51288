#include "vemra_crypto_cpp/device.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "base/bounded.h"
#include "vemra_crypto_cpp/append_object.h"
#include "vemra_crypto_cpp/exception.h"
#include "vemra_crypto_cpp/library_buffer.h"
#include "vemra_crypto_cpp/throw_site.h"

namespace vemra::crypto {

using qo::base::scoped_lock;

namespace {

constexpr int no_such_slot = -7;

// Passed unchanged on every creation; its meaning is the device library's.
constexpr unsigned char data_attributes[] = {0x04, 0x01, 0x03, 0x07, 0x00};

}  // namespace

device::device(owner_t handle) : basic_object(std::move(handle)) {}

device::device(VEMRA_PKI_DEVICE_HANDLE_st* h, bool duplicate)
    : device(own(duplicate ? VemraPKICryptoDupDevice(h) : h)) {}

device::device() : device(VemraPKICryptoGetPseudoDevice(), false) {}

std::vector<std::shared_ptr<device>> device::get_all_devices(int type, int flags) {
    std::vector<std::shared_ptr<device>> devices;
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(type, flags);
    if (list == nullptr) return devices;

    const int count = VemraPKICryptoGetDeviceCount(list);
    for (int i = 0; i < count; ++i) {
        append_object<on_append::load>(devices, own(VemraPKICryptoGetDevice(list, i)));
    }
    return devices;
}

int device::get_type() const {
    const int type = VemraPKICryptoGetType(get_handle());
    if (type == -1) throw exception(throw_site::device_file, throw_site::get_type);
    return type;
}

std::string device::get_serial_number() const {
    const scoped_lock lock(*this);
    char* p = nullptr;
    const int result = VemraPKICryptoGetSerialNumber(get_handle(), &p);
    const library_buffer<char> serial(p);
    if (result != 1 || serial == nullptr) return {};
    return std::string(serial.get());
}

void device::load() {
    const scoped_lock lock(*this);
    const int count = VemraPKICryptoGetKeypairCount(get_handle());
    for (int i = 0; i < count; ++i) {
        std::weak_ptr<device> self = shared_from_this();
        keypair::owner_t handle = keypair::own(VemraPKICryptoGetKeypair(get_handle(), i));
        append_object<on_append::load>(keypairs_, std::move(self), std::move(handle));
    }
}

const std::vector<std::shared_ptr<keypair>>& device::get_keypairs() const {
    const scoped_lock lock(*this);
    return keypairs_;
}

bool device::has_certificate(const certificate& c) const {
    const scoped_lock lock(*this);
    for (const auto& item : keypairs_) {
        if (item == nullptr || item->get_handle() == nullptr) continue;
        if (item->has_certificate(c)) return true;
    }
    return false;
}

int device::get_data_length(int id) const {
    const scoped_lock lock(*this);
    return private_get_data_length(id);
}

bool device::has_data(int id) const {
    const scoped_lock lock(*this);
    return private_has_data(id);
}

std::string device::get_data(int id) const {
    const scoped_lock lock(*this);
    return private_get_data(id);
}

int device::set_data(int id, const void* data, int len) {
    const scoped_lock lock(*this);
    return private_set_data(id, data, len);
}

void device::delete_data(int id) {
    const scoped_lock lock(*this);
    private_delete_data(id);
}

int device::private_get_data_length(int id) const {
    int len = 0;
    const int result = VemraPKICryptoGetDataLength(get_handle(), id, &len);
    if (result == 1) return len;
    if (result == no_such_slot) return 0;
    throw exception(throw_site::device_file, throw_site::get_data_length, result);
}

bool device::private_has_data(int id) const {
    return private_get_data_length(id) != 0;
}

std::string device::private_get_data(int id) const {
    const int size = private_get_data_length(id);
    // For a negative length there could be no memory: it reads as empty, too.
    if (size <= 0) return {};

    // Kept(unread-is-empty): without memory the slot reads as empty.
    const auto capacity = static_cast<std::size_t>(size);
    auto* bytes = new (std::nothrow) unsigned char[capacity];
    if (bytes == nullptr) return {};
    const std::shared_ptr<unsigned char> buffer(bytes, qo::base::_delete_array);
    std::memset(bytes, 0, capacity);

    int n = 0;
    const int result = VemraPKICryptoReadData(get_handle(), id, bytes, size, &n);
    if (result != 1) throw exception(throw_site::device_file, throw_site::get_data, result);
    const auto valid = static_cast<std::size_t>(std::clamp(n, 0, size));
    return std::string(reinterpret_cast<const char*>(bytes), valid);
}

void device::private_delete_data(int id) {
    if (!private_has_data(id)) return;
    const int result = VemraPKICryptoDeleteData(get_handle(), id);
    if (result != 1) throw exception(throw_site::device_file, throw_site::delete_data, result);
}

// Kept(backup-stays): a slot without data leaves an older backup, one that a failed restore kept,
// as it is.
void device::private_backup_data(int id) {
    if (private_has_data(id)) backup_ = private_get_data(id);
}

int device::private_set_data(int id, const void* data, int len) {
    private_backup_data(id);
    // A slot is never resized: it is deleted and created anew.
    // Kept(no-way-back): a failure between the two puts nothing back; the slot stays deleted.
    if (private_get_data_length(id) != len) private_delete_data(id);
    if (!private_has_data(id)) {
        const int created = VemraPKICryptoCreateData(get_handle(), id, data_attributes, len);
        if (created != 1) {
            private_restore_data(id);
            throw exception(throw_site::device_file, throw_site::set_create, created);
        }
    }

    const int written = VemraPKICryptoWriteData(get_handle(), id, data, len);
    if (written != 1) {
        private_delete_data(id);
        private_restore_data(id);
        throw exception(throw_site::device_file, throw_site::set_write, written);
    }
    backup_.clear();
    return len;
}

// Kept(empty-slot-back): a slot that had no content is left with size 0.
// Kept(restore-replaces): what it throws replaces the caller's exception, and the backup stays.
void device::private_restore_data(int id) {
    const int size = static_cast<int>(backup_.size());
    if (!private_has_data(id)) {
        const int created = VemraPKICryptoCreateData(get_handle(), id, data_attributes, size);
        if (created != 1) {
            throw exception(throw_site::device_file, throw_site::restore_create, created);
        }
    }

    const int written = VemraPKICryptoWriteData(get_handle(), id, backup_.data(), size);
    if (written != 1) {
        private_delete_data(id);
        throw exception(throw_site::device_file, throw_site::restore_write, written);
    }
    backup_.clear();
}

}  // namespace vemra::crypto
