#pragma once

#include <memory>

#include "vemra_crypto.h"

namespace vemra::crypto {

struct library_buffer_deleter {
    void operator()(void* buffer) const { VemraPKICryptoFreeMemory(buffer); }
};

/** Owns a buffer that the device library allocated; a null one is not released. */
template <typename T>
using library_buffer = std::unique_ptr<T, library_buffer_deleter>;

}  // namespace vemra::crypto
