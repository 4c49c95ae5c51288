#include "basics/digest.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

#include "basics/hex.h"

namespace vemra::tool {

std::string sha256(std::string_view bytes) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("SHA-256 cannot be computed");
    }
    return to_hex({reinterpret_cast<const char*>(digest.data()), length});
}

std::string base64(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

}  // namespace vemra::tool
