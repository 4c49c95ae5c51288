#include "device_module/device_tokens.h"

#include <stdexcept>

#include "core/basic_stamp.h"
#include "core/log.h"
#include "core/stamp_device_map.h"
#include "core/stamp_info_mapping.h"
#include "device_module/stamp_library.h"
#include "vemra_crypto.h"
#include "vemra_crypto_cpp/exception.h"

namespace vemra::tool {

namespace {

constexpr int user_password = 1;

const unsigned char* _bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned int _size(const std::string& text) {
    return static_cast<unsigned int>(text.size());
}

}  // namespace

std::string device_tokens::library_version() const {
    return VemraAppStampGetVersion();
}

stamp_list device_tokens::list_stamps(const std::optional<device_id>& only) {
    const stamp_set_owner set(
        only ? VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, only->serial.c_str(),
                                         _size(only->serial), only->type)
             : VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1));
    if (set == nullptr) {
        stamp_list none;
        none.status = VemraAppStampGetLastError();
        return none;
    }
    return read_stamps(set.get());
}

int device_tokens::append(const device_id& device, const char* password, const std::string& name,
                          const std::string& data) {
    const VEMRA_APP_STAMP_RECORD record = make_record(name, data);
    return VemraAppStampAppendStamp(device.serial.c_str(), _size(device.serial), device.type,
                                    password, &record);
}

int device_tokens::update(const std::string& uuid, const char* password, const std::string& name,
                          const std::string& data) {
    const VEMRA_APP_STAMP_RECORD record = make_record(name, data);
    return VemraAppStampUpdateStamp(_bytes(uuid), _size(uuid), password, &record);
}

int device_tokens::remove(const std::string& uuid, const char* password) {
    return VemraAppStampDeleteStamp(_bytes(uuid), _size(uuid), password);
}

std::vector<device_id> device_tokens::list_devices() {
    devices_.clear();
    std::vector<device_id> ids;
    for (const auto& device : crypto::device::get_all_devices(-1, 0)) {
        if (device->get_handle() == nullptr) continue;
        try {
            const device_id id{device->get_serial_number(), device->get_type()};
            devices_.push_back({id, device});
            ids.push_back(id);
        } catch (const std::exception& error) {
            VEMRA_LOG_ERROR("Unable to read a device, because: %s.", error.what());
        }
    }
    return ids;
}

crypto::device& device_tokens::find(const device_id& wanted) {
    if (devices_.empty()) list_devices();
    for (const attached& one : devices_) {
        if (one.id == wanted) return *one.device;
    }
    throw std::runtime_error("the device " + wanted.serial + " is not attached any more");
}

password_answer device_tokens::verify_password(const device_id& device, const char* password) {
    password_answer answer;
    answer.result = VemraPKICryptoVerifyPwd(find(device).get_handle(), user_password, password,
                                            &answer.retries);
    if (answer.result != 1) answer.text = crypto::exception::get_error_message(answer.result);
    return answer;
}

int device_tokens::slot_length(const device_id& device, int slot) {
    return find(device).get_data_length(slot);
}

std::string device_tokens::read_slot(const device_id& device, int slot) {
    return find(device).get_data(slot);
}

std::string device_tokens::uuid_of(const device_id& device, int slot) {
    const auto uuid = app::stamp::stamp_device_map::generate_uuid(find(device).shared_from_this(),
                                                                  slot, "", nullptr, 0);
    return std::string(uuid.begin(), uuid.end());
}

void device_tokens::delete_slot(const device_id& device, int slot) {
    find(device).delete_data(slot);
}

void device_tokens::write_slot(const device_id& device, int slot, const std::string& bytes) {
    find(device).set_data(slot, bytes.data(), static_cast<int>(bytes.size()));
}

stamp_mapping device_tokens::parse_mapping(const std::string& record) {
    const auto mapping = app::stamp::_parse_stamp_info_mapping(_bytes(record), record.size());
    return stamp_mapping(mapping.begin(), mapping.end());
}

std::string device_tokens::encode_mapping(const stamp_mapping& mapping) {
    return app::stamp::_encode_stamp_info_mapping({mapping.begin(), mapping.end()});
}

bool device_tokens::is_sealed(const std::string& bytes) {
    return app::stamp::basic_stamp::detect_stamp_format(_bytes(bytes), bytes.size()) ==
           app::stamp::basic_stamp::sealed;
}

}  // namespace vemra::tool

extern "C" {

__attribute__((visibility("default"))) vemra::tool::tokens* vemra_stamp_make_tokens();

vemra::tool::tokens* vemra_stamp_make_tokens() {
    return new vemra::tool::device_tokens();
}
}
