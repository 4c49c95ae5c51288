/** What the opaque handles of the device interface point to. Freeing one touches nothing else. */
#pragma once

#include <cstdint>
#include <string>

#include "library/handle_state.h"
#include "library/token.h"
#include "store/failure.h"

/* A device; a duplicate is a handle of its own, logged out. */
struct VEMRA_PKI_DEVICE_HANDLE_st {
    vemra::softtoken::token* token = nullptr; /* null for the pseudo device */
    vemra::softtoken::handle_state state;
};

/* A key pair on a token. */
struct VEMRA_PrivKey_Handle_st {
    vemra::softtoken::token* token;
    vemra::softtoken::handle_state state; /* the device's, when it gave the key pair */
    std::int64_t keypair;                 /* the number of its row */
};

/* A certificate, which needs its token no more. */
struct VEMRA_CERT_st {
    std::string der;
};

namespace vemra::softtoken {

/* The token behind a handle; null when there is none. */
template <typename Handle>
token* token_of(const Handle* handle) {
    return handle == nullptr ? nullptr : handle->token;
}

/* The token behind a handle; throws for the pseudo device, which has no storage. */
inline token& stored_token(VEMRA_PKI_DEVICE_HANDLE_st& device) {
    if (device.token == nullptr) throw failure(error_code::no_storage);
    return *device.token;
}

}  // namespace vemra::softtoken
