#include "core/stamp_device_map.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

#include "base/little_endian.h"
#include "core/log.h"
#include "vemra_crypto.h"
#include "vemra_crypto_cpp/library_buffer.h"

namespace vemra::app::stamp {

using qo::base::scoped_lock;

stamp_device_map g_stamp_device_map;

namespace {

// The device library's number of the digest.
constexpr int uuid_digest_algorithm = 0x7000;

struct hash_deleter {
    void operator()(VEMRA_PKI_HASH_HANDLE_st* hash) const { VemraPKICryptoFreeHash(hash); }
};

std::string _bytes_of(int value) {
    return qo::base::to_little_endian(static_cast<std::uint32_t>(value));
}

}  // namespace

stamp_device_map::item::item(std::shared_ptr<crypto::device> device, int data_id,
                             const std::string& name)
    : device_(std::move(device)), data_id_(data_id), name_(name) {}

bool stamp_device_map::has(const std::basic_string<unsigned char>& uuid) const {
    const scoped_lock lock(*this);
    return items_.find(uuid) != items_.end();
}

std::shared_ptr<stamp_device_map::item> stamp_device_map::get(
    const std::basic_string<unsigned char>& uuid) const {
    const scoped_lock lock(*this);
    const auto found = items_.find(uuid);
    return found == items_.end() ? nullptr : found->second;
}

void stamp_device_map::put(const std::basic_string<unsigned char>& uuid,
                           const std::shared_ptr<item>& value) {
    const scoped_lock lock(*this);
    items_[uuid] = value;
}

void stamp_device_map::clear() {
    const scoped_lock lock(*this);
    items_.clear();
}

std::basic_string<unsigned char> stamp_device_map::generate_uuid(
    // NOLINTNEXTLINE(performance-unnecessary-value-param): holds the device for the call.
    std::shared_ptr<crypto::device> device, int data_id, const std::string& /*name*/,
    const void* /*data*/, const std::size_t& /*size*/) {
    const std::string serial = device->get_serial_number();
    const int type = device->get_type();

    const std::unique_ptr<VEMRA_PKI_HASH_HANDLE_st, hash_deleter> hash(
        VemraPKICryptoNewHash(device->get_handle(), uuid_digest_algorithm));
    if (hash == nullptr) {
        VEMRA_LOG_ERROR("Unable to new a hash handle.");
        return {};
    }
    for (const std::string& bytes : {serial, _bytes_of(type), _bytes_of(data_id)}) {
        const int updated =
            VemraPKICryptoHashUpdate(hash.get(), bytes.data(), static_cast<int>(bytes.size()));
        if (updated != 1) {
            VEMRA_LOG_ERROR("Unable to update bytes to hash handle, vemra errcode: %d.", updated);
            return {};
        }
    }

    unsigned char* digest = nullptr;
    int digest_length = 0;
    const int finished = VemraPKICryptoHashFinal(hash.get(), &digest, &digest_length);
    const crypto::library_buffer<unsigned char> digest_owner(digest);
    if (finished != 1) {
        VEMRA_LOG_ERROR("Unable to finish hash, vemra errcode: %d.", finished);
        return {};
    }
    if (digest == nullptr && digest_length != 0) {
        throw std::logic_error("basic_string::_S_construct null not valid");
    }
    // A string of no bytes at null would let the compiler take the owner's test for null away.
    if (digest == nullptr) return {};
    if (digest_length < 0) throw std::length_error("digest of negative length");
    return std::basic_string<unsigned char>(digest, static_cast<std::size_t>(digest_length));
}

}  // namespace vemra::app::stamp
