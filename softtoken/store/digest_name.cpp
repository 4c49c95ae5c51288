#include "store/digest_name.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include "store/openssl_use.h"

namespace vemra::softtoken {

bool is_digest(const std::string& name) {
    constexpr int least_bytes = 20;
    constexpr int most_bytes = 64;
    openssl_use use;
    ERR_set_mark();
    EVP_MD* found = EVP_MD_fetch(nullptr, name.c_str(), nullptr);
    ERR_pop_to_mark();
    const int size = found == nullptr ? 0 : EVP_MD_get_size(found);
    EVP_MD_free(found);
    return size >= least_bytes && size <= most_bytes;
}

}  // namespace vemra::softtoken
