#pragma once

#include "vemra_crypto.h"

namespace vemra::crypto {

/* The device library's free function for each type of handle; what it returns tells nothing. */

inline void free_handle(VEMRA_PKI_DEVICE_HANDLE_st* handle) {
    VemraPKICryptoFreeDevice(handle);
}

inline void free_handle(VEMRA_PrivKey_Handle_st* handle) {
    VemraPKICryptoFreeKeypair(handle);
}

inline void free_handle(VEMRA_CERT_st* handle) {
    VemraPKICertFreeCert(handle);
}

}  // namespace vemra::crypto
