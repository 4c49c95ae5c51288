/** Buffers that callers give back through VemraPKICryptoFreeMemory. */
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace vemra::softtoken {

/* A copy with a NUL after it, made by malloc; Byte is char or unsigned char. Throws bad_alloc. */
template <typename Byte>
Byte* copy_for_caller(std::string_view bytes) {
    auto* copy = static_cast<char*>(std::malloc(bytes.size() + 1));
    if (copy == nullptr) throw std::bad_alloc();
    if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
    copy[bytes.size()] = '\0';
    return reinterpret_cast<Byte*>(copy);
}

}  // namespace vemra::softtoken
