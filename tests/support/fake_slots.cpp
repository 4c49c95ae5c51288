// The numbered data slots of the fake's devices.

#include <cstring>

#include "support/fake_call.h"

namespace {

constexpr int attribute_length = 4;

using slots = std::map<int, std::string>;

bool _may_write(const fake_device& device) {
    return !device.needs_login || device.is_logged_in;
}

/** A call on the slots of a device that is there. */
template <typename Work>
int _perform_on_slots(const char* function, VEMRA_PKI_DEVICE_HANDLE_st* device, bool writes,
                      std::initializer_list<std::string> arguments, Work work) {
    return perform_status(function, arguments, [&](fake_state& state) {
        if (!state.is_usable(device, function)) return fake_device_library::bad_handle;
        if (!device->device->is_plugged) return fake_device_library::removed;
        if (writes && !_may_write(*device->device)) return fake_device_library::not_logged_in;
        return work(state, device->device->slots);
    });
}

}  // namespace

int VemraPKICryptoGetDataLength(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int* len) {
    const call_scope scope;
    return _perform_on_slots(
        "VemraPKICryptoGetDataLength", device, false, {text(device), text(id), text(*len)},
        [=](fake_state& state, const slots& all) {
            const auto found = all.find(id);
            if (found == all.end()) return fake_device_library::no_such_slot;
            *len = state.data_length_answer ? *state.data_length_answer
                                            : static_cast<int>(found->second.size());
            return 1;
        });
}

int VemraPKICryptoReadData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, unsigned char* buf,
                           int buf_len, int* out_len) {
    const call_scope scope;
    return _perform_on_slots(
        "VemraPKICryptoReadData", device, false,
        {text(device), text(id), buf == nullptr ? "null" : "buffer", text(buf_len), text(*out_len)},
        [=](fake_state& state, const slots& all) {
            const auto found = all.find(id);
            if (found == all.end()) return fake_device_library::no_such_slot;
            if (buf_len < static_cast<int>(found->second.size())) {
                return fake_device_library::buffer_too_small;
            }
            std::memcpy(buf, found->second.data(), found->second.size());
            *out_len = state.read_length_answer ? *state.read_length_answer
                                                : static_cast<int>(found->second.size());
            return 1;
        });
}

int VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                             const unsigned char* attributes, int size) {
    const call_scope scope;
    return _perform_on_slots(
        "VemraPKICryptoCreateData", device, true,
        {text(device), text(id), text(attributes, attribute_length), text(size)},
        [=](fake_state&, slots& all) {
            if (size < 0) return fake_device_library::bad_argument;
            const auto found = all.find(id);
            if (found != all.end() && !found->second.empty()) {
                return fake_device_library::slot_exists;
            }
            all[id] = std::string(static_cast<std::size_t>(size), '\0');
            return 1;
        });
}

int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len) {
    const call_scope scope;
    return _perform_on_slots(
        "VemraPKICryptoWriteData", device, true,
        {text(device), text(id), text(data, len), text(len)}, [=](fake_state&, slots& all) {
            const auto found = all.find(id);
            if (found == all.end()) return fake_device_library::no_such_slot;
            if (len != static_cast<int>(found->second.size())) {
                return fake_device_library::wrong_length;
            }
            found->second.assign(static_cast<const char*>(data), static_cast<std::size_t>(len));
            return 1;
        });
}

int VemraPKICryptoDeleteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id) {
    const call_scope scope;
    return _perform_on_slots("VemraPKICryptoDeleteData", device, true, {text(device), text(id)},
                             [id](fake_state&, slots& all) {
                                 return all.erase(id) == 1 ? 1 : fake_device_library::no_such_slot;
                             });
}
