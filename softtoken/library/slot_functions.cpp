/** The exported functions for numbered data slots. */
#include "library/call.h"
#include "library/exports.h"
#include "library/handles.h"

using namespace vemra::softtoken;

int VemraPKICryptoGetDataLength(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int* len) {
    return status_call({__func__, id}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        require_argument(len != nullptr);
        *len = call.tell_length(stored.slot_length(call, device->state, id));
    });
}

int VemraPKICryptoReadData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, unsigned char* buf,
                           int buf_len, int* out_len) {
    return status_call({__func__, id, buf_len}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        require_argument(out_len != nullptr && buf_len >= 0 && (buf != nullptr || buf_len == 0));
        *out_len = call.tell_length(stored.read_slot(call, device->state, id, buf, buf_len));
    });
}

int VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                             const unsigned char* attributes, int size) {
    return status_call({__func__, id, size}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        require_argument(id >= 0 && attributes != nullptr && size >= 0);
        stored.create_slot(call, device->state, id, attributes, size);
    });
}

int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len) {
    return status_call({__func__, id, len}, token_of(device), [=](running_call& call) {
        token& stored = stored_token(required(device));
        require_argument(len >= 0 && (data != nullptr || len == 0));
        stored.write_slot(call, device->state, id, data, len);
    });
}

int VemraPKICryptoDeleteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id) {
    return status_call({__func__, id}, token_of(device), [=](running_call& call) {
        stored_token(required(device)).delete_slot(call, device->state, id);
    });
}
