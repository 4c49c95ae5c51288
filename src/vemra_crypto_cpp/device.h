#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vemra_crypto.h"
#include "vemra_crypto_cpp/basic_object.h"
#include "vemra_crypto_cpp/keypair.h"

namespace vemra::crypto {

/**
 * One crypto device: who it is, its key pairs, and its numbered data slots.
 *
 * A slot has data when the library reports a length other than 0; an absent slot has length 0.
 * Failures of the library throw vemra::crypto::exception, failures to lock std::system_error.
 * Operations lock unless they say otherwise. Two objects over the same physical device do not
 * lock each other out.
 */
class device : public basic_object<VEMRA_PKI_DEVICE_HANDLE_st*>,
               public std::enable_shared_from_this<device> {
public:
    /** A device over the library's pseudo device. */
    device();
    /** Shares `handle`, which own() made. Does not load the key pairs. */
    explicit device(owner_t handle);
    /** Takes `h`, or a duplicate of it when `duplicate` is true; `h` is then the caller's still. */
    device(VEMRA_PKI_DEVICE_HANDLE_st* h, bool duplicate);

    /** The attached devices, loaded, in the library's order. Takes no lock. */
    static std::vector<std::shared_ptr<device>> get_all_devices(int type, int flags);

    /** The device type. Does not lock. */
    int get_type() const;
    /** The serial number; empty when the library cannot tell it. */
    std::string get_serial_number() const;

    /**
     * Appends the key pairs, loaded, in the library's order. Throws std::bad_weak_ptr if there is
     * one and no std::shared_ptr holds the device.
     *
     * Kept(second-load): a second call appends them again.
     */
    void load() override;
    /** The lock is released before the reference is returned: the caller reads unguarded. */
    const std::vector<std::shared_ptr<keypair>>& get_keypairs() const;
    /** Whether one of the key pairs has a certificate equal to `c`. */
    bool has_certificate(const certificate& c) const;

    /** Length of a slot in bytes; 0 when there is none. */
    int get_data_length(int id) const;
    bool has_data(int id) const;
    /**
     * The bytes of a slot; empty when there is none.
     *
     * Kept(unread-is-empty): empty, too, when there is no memory for them or the library tells a
     * negative length.
     */
    std::string get_data(int id) const;

    /**
     * Writes the `len` bytes at `data` as the slot's whole content and returns `len`. A slot of
     * another length is deleted and created anew. When the write fails, the old content is put
     * back before the exception leaves; a failure of that replaces the exception.
     */
    int set_data(int id, const void* data, int len);
    /** Deletes a slot; an absent one is no error. */
    void delete_data(int id);

private:
    int private_get_data_length(int id) const;
    bool private_has_data(int id) const;
    std::string private_get_data(int id) const;
    int private_set_data(int id, const void* data, int len);
    void private_delete_data(int id);
    void private_backup_data(int id);
    void private_restore_data(int id);

    std::string backup_;
    std::vector<std::shared_ptr<keypair>> keypairs_;
};

}  // namespace vemra::crypto
