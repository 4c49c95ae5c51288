/** The exported functions for devices: enumeration, identity, password. */
#include <memory>

#include "library/call.h"
#include "library/exports.h"
#include "library/handles.h"
#include "library/memory.h"
#include "library/token_registry.h"

using namespace vemra::softtoken;

namespace {

constexpr int pseudo_device_type = 0;
constexpr const char* pseudo_device_serial_number = "PSEUDO";
constexpr int user_password_type = 1;

// Null for a place in a list that has no device.
VEMRA_PKI_DEVICE_HANDLE_st* _new_device(token* stored, const plug* listed = nullptr) {
    if (stored == nullptr) return nullptr;
    auto made = std::make_unique<VEMRA_PKI_DEVICE_HANDLE_st>();
    made->state.listed = stored->take_handle();
    if (listed != nullptr) made->state.listed = listed;
    made->token = stored;
    return made.release();
}

}  // namespace

VEMRA_PKI_DEVICE_LIST_st* VemraPKICryptoGetAllDevices(int type, int /*flags*/) {
    return pointer_call({__func__}, nullptr, [=](running_call&) {
        return token_registry::instance().attached_tokens(type);
    });
}

int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list) {
    return number_call({__func__}, nullptr, [=](running_call&) {
        return static_cast<int>(required(list).tokens.size());
    });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetDevice(VEMRA_PKI_DEVICE_LIST_st* list, int index) {
    return pointer_call({__func__}, nullptr, [=](running_call&) {
        const auto& tokens = required(list).tokens;
        if (index < 0 || static_cast<std::size_t>(index) >= tokens.size()) {
            throw failure(error_code::no_such_index);
        }
        return _new_device(tokens[static_cast<std::size_t>(index)]);
    });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetPseudoDevice(void) {
    return pointer_call({__func__}, nullptr,
                        [](running_call&) { return new VEMRA_PKI_DEVICE_HANDLE_st; });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoDupDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    // The second handle is logged out on a token whose login scope is the handle.
    return pointer_call({__func__}, token_of(device), [=](running_call&) {
        if (required(device).token == nullptr) return new VEMRA_PKI_DEVICE_HANDLE_st;
        return _new_device(required(device).token, device->state.listed);
    });
}

int VemraPKICryptoFreeDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return release_call({__func__}, [=] {
        token* stored = token_of(device);
        give_back(device);
        if (stored != nullptr) stored->give_handle_back();
    });
}

int VemraPKICryptoGetType(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    int told = -1;
    int type = number_call({__func__}, token_of(device), [=, &told](running_call& call) {
        token* stored = required(device).token;
        told = stored == nullptr ? pseudo_device_type : stored->type(call, device->state);
        return told;
    });
    // A device's own number may be negative; a failure's code is not told here.
    return type < 0 && type != told ? -1 : type;
}

int VemraPKICryptoGetSerialNumber(VEMRA_PKI_DEVICE_HANDLE_st* device, char** out) {
    return status_call({__func__}, token_of(device), [=](running_call& call) {
        token* stored = required(device).token;
        require_argument(out != nullptr);
        *out =
            copy_for_caller<char>(stored == nullptr ? pseudo_device_serial_number
                                                    : stored->serial_number(call, device->state));
    });
}

int VemraPKICryptoVerifyPwd(VEMRA_PKI_DEVICE_HANDLE_st* device, int type, const char* password,
                            int* retries) {
    return status_call({__func__}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        require_argument(password != nullptr);
        if (type != user_password_type) throw failure(error_code::unknown_password_type);
        int unwanted = 0;
        stored.verify_password(call, device->state, password,
                               retries == nullptr ? unwanted : *retries);
    });
}

int VemraPKICryptoGetKeypairCount(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return number_call({__func__}, token_of(device), [=](running_call& call) {
        token* stored = required(device).token;
        return stored == nullptr ? 0 : stored->keypair_count(call, device->state);
    });
}

VEMRA_PrivKey_Handle_st* VemraPKICryptoGetKeypair(VEMRA_PKI_DEVICE_HANDLE_st* device, int index) {
    return pointer_call({__func__}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        return new VEMRA_PrivKey_Handle_st{&stored, device->state,
                                           stored.keypair_at(call, device->state, index)};
    });
}
