/** The exported functions for hashing. */
#include "library/call.h"
#include "library/digest.h"
#include "library/exports.h"
#include "library/handles.h"
#include "library/memory.h"

using namespace vemra::softtoken;

struct VEMRA_PKI_HASH_HANDLE_st {
    digest running;
};

namespace {

constexpr int the_algorithm = 0x7000;

}  // namespace

VEMRA_PKI_HASH_HANDLE_st* VemraPKICryptoNewHash(VEMRA_PKI_DEVICE_HANDLE_st* device, int algorithm) {
    return pointer_call({__func__}, token_of(device), [=](running_call& call) {
        token* stored = required(device).token;
        std::string name = usual_digest;
        if (stored != nullptr) name = stored->digest_name(call, device->state);
        if (algorithm != the_algorithm || name == no_digest) {
            throw failure(error_code::unknown_algorithm);
        }
        return new VEMRA_PKI_HASH_HANDLE_st{digest(name)};
    });
}

int VemraPKICryptoHashUpdate(VEMRA_PKI_HASH_HANDLE_st* hash, const void* data, int len) {
    return status_call({__func__, -1, len}, nullptr, [=](running_call&) {
        digest& running = required(hash).running;
        require_argument(len >= 0 && (data != nullptr || len == 0));
        running.update(data, static_cast<std::size_t>(len));
    });
}

int VemraPKICryptoHashFinal(VEMRA_PKI_HASH_HANDLE_st* hash, unsigned char** out, int* len) {
    return status_call({__func__}, nullptr, [=](running_call& call) {
        digest& running = required(hash).running;
        require_argument(out != nullptr && len != nullptr);
        std::string bytes = running.finish();
        *out = copy_for_caller<unsigned char>(bytes);
        *len = call.tell_length(static_cast<int>(bytes.size()));
    });
}

int VemraPKICryptoFreeHash(VEMRA_PKI_HASH_HANDLE_st* hash) {
    return release_call({__func__}, [=] { give_back(hash); });
}
