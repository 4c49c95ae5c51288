#include "store/random_hex.h"

#include <openssl/rand.h>

#include "store/failure.h"
#include "store/openssl_use.h"

namespace vemra::softtoken {

std::string random_hex(std::size_t bytes) {
    std::string raw(bytes, '\0');
    openssl_use use;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(raw.data()), static_cast<int>(bytes)) != 1) {
        throw failure(error_code::crypto_failed);
    }
    std::string text;
    for (char byte : raw) {
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

}  // namespace vemra::softtoken
