/** The exported functions for devices: enumeration, identity, password. */
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
        return new VEMRA_PKI_DEVICE_HANDLE_st{tokens[static_cast<std::size_t>(index)], {}};
    });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetPseudoDevice(void) {
    return pointer_call({__func__}, nullptr,
                        [](running_call&) { return new VEMRA_PKI_DEVICE_HANDLE_st; });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoDupDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    // The second handle is logged out on a token whose login scope is the handle.
    return pointer_call({__func__}, token_of(device), [=](running_call&) {
        return new VEMRA_PKI_DEVICE_HANDLE_st{required(device).token, {}};
    });
}

int VemraPKICryptoFreeDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return release_call({__func__}, [=] { give_back(device); });
}

int VemraPKICryptoGetType(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    int type = number_call({__func__}, token_of(device), [=](running_call& call) {
        token* stored = required(device).token;
        return stored == nullptr ? pseudo_device_type : stored->type(call);
    });
    return type < 0 ? -1 : type;
}

int VemraPKICryptoGetSerialNumber(VEMRA_PKI_DEVICE_HANDLE_st* device, char** out) {
    return status_call({__func__}, token_of(device), [=](running_call& call) {
        token* stored = required(device).token;
        require_argument(out != nullptr);
        *out = copy_for_caller<char>(stored == nullptr ? pseudo_device_serial_number
                                                       : stored->serial_number(call));
    });
}

int VemraPKICryptoVerifyPwd(VEMRA_PKI_DEVICE_HANDLE_st* device, int type, const char* password,
                            int* retries) {
    return status_call({__func__}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        require_argument(password != nullptr);
        if (type != user_password_type) throw failure(error_code::unknown_password_type);
        int unwanted = 0;
        stored.verify_password(call, device->login, password,
                               retries == nullptr ? unwanted : *retries);
    });
}

int VemraPKICryptoGetKeypairCount(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    return number_call({__func__}, token_of(device), [=](running_call& call) {
        token* stored = required(device).token;
        return stored == nullptr ? 0 : stored->keypair_count(call);
    });
}

VEMRA_PrivKey_Handle_st* VemraPKICryptoGetKeypair(VEMRA_PKI_DEVICE_HANDLE_st* device, int index) {
    return pointer_call({__func__}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        return new VEMRA_PrivKey_Handle_st{&stored, stored.keypair_at(call, index)};
    });
}
