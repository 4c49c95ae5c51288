/** The tokens that the stamp library and its device layer reach. */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "device_module/tokens.h"
#include "vemra_crypto_cpp/device.h"

namespace vemra::tool {

class device_tokens : public tokens {
public:
    std::string library_version() const override;

    stamp_list list_stamps(const std::optional<device_id>& only) override;
    int append(const device_id& device, const char* password, const std::string& name,
               const std::string& data) override;
    int update(const std::string& uuid, const char* password, const std::string& name,
               const std::string& data) override;
    int remove(const std::string& uuid, const char* password) override;

    std::vector<device_id> list_devices() override;
    password_answer verify_password(const device_id& device, const char* password) override;
    int slot_length(const device_id& device, int slot) override;
    std::string read_slot(const device_id& device, int slot) override;
    std::string uuid_of(const device_id& device, int slot) override;
    void write_slot(const device_id& device, int slot, const std::string& bytes) override;
    void delete_slot(const device_id& device, int slot) override;

    stamp_mapping parse_mapping(const std::string& record) override;
    std::string encode_mapping(const stamp_mapping& mapping) override;
    bool is_sealed(const std::string& bytes) override;

private:
    struct attached {
        device_id id;
        std::shared_ptr<crypto::device> device;
    };

    /** Throws std::runtime_error when the device is not attached any more. */
    crypto::device& find(const device_id& wanted);

    std::vector<attached> devices_;
};

}  // namespace vemra::tool
