// The fake's hash: 64 bits of FNV-1a, no cryptography, a different digest for different input.

#include <cstdint>

#include "support/fake_call.h"

namespace {

constexpr int known_algorithm = 0x7000;

std::string _digest(const std::string& input) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : input) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    }
    std::string digest;
    for (int shift = 56; shift >= 0; shift -= 8)
        digest += static_cast<char>(hash >> shift & 0xff);
    return digest;
}

}  // namespace

VEMRA_PKI_HASH_HANDLE_st* VemraPKICryptoNewHash(VEMRA_PKI_DEVICE_HANDLE_st* device, int algorithm) {
    const call_scope scope;
    return perform<VEMRA_PKI_HASH_HANDLE_st*>(
        "VemraPKICryptoNewHash", {text(device), text(algorithm)}, nullptr,
        [=](fake_state& state) -> VEMRA_PKI_HASH_HANDLE_st* {
            const bool is_usable = state.is_usable(device, "VemraPKICryptoNewHash");
            if (!is_usable || algorithm != known_algorithm) return nullptr;
            VEMRA_PKI_HASH_HANDLE_st& hash = state.hash_handles.emplace_back();
            hash.generation = state.generation;
            hash.name = "hash";
            return &hash;
        });
}

int VemraPKICryptoHashUpdate(VEMRA_PKI_HASH_HANDLE_st* hash, const void* data, int len) {
    const call_scope scope;
    return perform_status("VemraPKICryptoHashUpdate", {text(hash), text(data, len), text(len)},
                          [=](fake_state& state) {
                              if (!state.is_usable(hash, "VemraPKICryptoHashUpdate")) {
                                  return fake_device_library::bad_handle;
                              }
                              hash->input.append(static_cast<const char*>(data),
                                                 static_cast<std::size_t>(len));
                              return 1;
                          });
}

int VemraPKICryptoHashFinal(VEMRA_PKI_HASH_HANDLE_st* hash, unsigned char** out, int* len) {
    const call_scope scope;
    return perform_status("VemraPKICryptoHashFinal",
                          {text(hash), text(reinterpret_cast<const char*>(*out)), text(*len)},
                          [=](fake_state& state) {
                              fake_output answer;
                              if (state.digest_answer) {
                                  answer = *state.digest_answer;
                              } else if (!state.is_usable(hash, "VemraPKICryptoHashFinal")) {
                                  answer.result = fake_device_library::bad_handle;
                              } else {
                                  answer.bytes = _digest(hash->input);
                                  answer.length = static_cast<int>(answer.bytes->size());
                              }
                              if (answer.bytes) *out = state.new_buffer("digest", *answer.bytes);
                              *len = answer.length;
                              return answer.result;
                          });
}

int VemraPKICryptoFreeHash(VEMRA_PKI_HASH_HANDLE_st* hash) {
    const call_scope scope;
    return perform_release("VemraPKICryptoFreeHash", text(hash), hash);
}
