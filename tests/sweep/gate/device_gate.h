#pragma once

#include <functional>

#include "vemra_crypto.h"

/**
 * A device library between the stamp library and the software token: each call passes through a
 * watcher, which may do anything before and after it, the end of the process included.
 */
namespace device_gate {

/** One call. Slot and bytes are those of the calls that have them; else -1 and null. */
struct call {
    const char* function;
    VEMRA_PKI_DEVICE_HANDLE_st* device;
    int slot;
    const void* data;
    int length;
};

enum class moment { before, after };

/** What happens around each call from now on; an empty function for nothing. */
void watch(const std::function<void(const call&, moment)>& watcher);

/** Whether a function releases what the library gave out. */
bool is_release(const call& passing);

}  // namespace device_gate
