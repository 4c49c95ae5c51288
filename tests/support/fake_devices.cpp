// Enumeration, identity and password of the fake's devices.

#include "support/fake_call.h"

namespace {

VEMRA_PKI_DEVICE_HANDLE_st* _new_handle(fake_state& state, std::shared_ptr<fake_device> device) {
    VEMRA_PKI_DEVICE_HANDLE_st& handle = state.device_handles.emplace_back();
    handle.generation = state.generation;
    handle.name = device->label;
    handle.device = std::move(device);
    return &handle;
}

int _verify(fake_device& device, int type, const char* password, int* retries) {
    if (type != 1 || password == nullptr) return fake_device_library::bad_argument;
    device.is_logged_in = false;
    if (device.retries == 0) return fake_device_library::locked;
    if (device.password == password) {
        device.retries = device.most_retries;
        device.is_logged_in = true;
        return 1;
    }
    *retries = --device.retries;
    return fake_device_library::wrong_password;
}

}  // namespace

VEMRA_PKI_DEVICE_LIST_st* VemraPKICryptoGetAllDevices(int type, int flags) {
    const call_scope scope;
    return perform<VEMRA_PKI_DEVICE_LIST_st*>("VemraPKICryptoGetAllDevices",
                                              {text(type), text(flags)}, nullptr,
                                              [](fake_state& state) -> VEMRA_PKI_DEVICE_LIST_st* {
                                                  if (state.devices.empty()) return nullptr;
                                                  state.list.devices = state.devices;
                                                  return &state.list;
                                              });
}

int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list) {
    const call_scope scope;
    return perform("VemraPKICryptoGetDeviceCount", {text(list)}, 0, [list](fake_state& state) {
        if (state.device_count_answer) return *state.device_count_answer;
        return list == nullptr ? 0 : static_cast<int>(list->devices.size());
    });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetDevice(VEMRA_PKI_DEVICE_LIST_st* list, int index) {
    const call_scope scope;
    return perform<VEMRA_PKI_DEVICE_HANDLE_st*>(
        "VemraPKICryptoGetDevice", {text(list), text(index)}, nullptr,
        [list, index](fake_state& state) -> VEMRA_PKI_DEVICE_HANDLE_st* {
            if (list == nullptr || index < 0) return nullptr;
            const auto position = static_cast<std::size_t>(index);
            if (position >= list->devices.size() || list->devices[position]->is_null) {
                return nullptr;
            }
            return _new_handle(state, list->devices[position]);
        });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetPseudoDevice(void) {
    const call_scope scope;
    return perform<VEMRA_PKI_DEVICE_HANDLE_st*>("VemraPKICryptoGetPseudoDevice", {}, nullptr,
                                                [](fake_state& state) {
                                                    auto pseudo = std::make_shared<fake_device>();
                                                    pseudo->label = "pseudo";
                                                    return _new_handle(state, std::move(pseudo));
                                                });
}

VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoDupDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    const call_scope scope;
    return perform<VEMRA_PKI_DEVICE_HANDLE_st*>(
        "VemraPKICryptoDupDevice", {text(device)}, nullptr,
        [device](fake_state& state) -> VEMRA_PKI_DEVICE_HANDLE_st* {
            if (!state.is_usable(device, "VemraPKICryptoDupDevice")) return nullptr;
            return _new_handle(state, device->device);
        });
}

int VemraPKICryptoFreeDevice(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    const call_scope scope;
    return perform_release("VemraPKICryptoFreeDevice", text(device), device);
}

int VemraPKICryptoGetType(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    const call_scope scope;
    return perform("VemraPKICryptoGetType", {text(device)}, -1, [device](fake_state& state) {
        if (state.type_answer) return *state.type_answer;
        if (!state.is_usable(device, "VemraPKICryptoGetType")) {
            state.finish(fake_device_library::bad_handle);
            return -1;
        }
        if (!device->device->is_plugged) {
            state.finish(fake_device_library::removed);
            return -1;
        }
        return device->device->type;
    });
}

int VemraPKICryptoGetSerialNumber(VEMRA_PKI_DEVICE_HANDLE_st* device, char** out) {
    const call_scope scope;
    return perform_status(
        "VemraPKICryptoGetSerialNumber", {text(device), text(*out)},
        [device, out](fake_state& state) {
            fake_output answer;
            if (state.serial_answer) {
                answer = *state.serial_answer;
            } else if (!state.is_usable(device, "VemraPKICryptoGetSerialNumber")) {
                answer.result = fake_device_library::bad_handle;
            } else if (!device->device->is_plugged) {
                answer.result = fake_device_library::removed;
            } else {
                answer.bytes = device->device->serial;
            }
            if (answer.bytes) {
                *out = reinterpret_cast<char*>(state.new_buffer("serial", *answer.bytes));
            }
            return answer.result;
        });
}

int VemraPKICryptoVerifyPwd(VEMRA_PKI_DEVICE_HANDLE_st* device, int type, const char* password,
                            int* retries) {
    const call_scope scope;
    return perform_status("VemraPKICryptoVerifyPwd",
                          {text(device), text(type), text(password), text(*retries)},
                          [=](fake_state& state) {
                              if (!state.is_usable(device, "VemraPKICryptoVerifyPwd")) {
                                  return fake_device_library::bad_handle;
                              }
                              if (!device->device->is_plugged) return fake_device_library::removed;
                              return _verify(*device->device, type, password, retries);
                          });
}
