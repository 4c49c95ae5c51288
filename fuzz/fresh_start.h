#pragma once

#include <algorithm>

#include "core/stamp_device_map.h"
#include "fuzz_support.h"
#include "support/fake_state.h"

/**
 * Makes the next input begin with no uuid known. The fake keeps released handles, so that late uses
 * of them are seen; many inputs in one process would keep too many.
 */
inline void forget_everything() {
    vemra::app::stamp::g_stamp_device_map.clear();
    fake_state& state = the_state();
    claim(std::none_of(state.device_handles.begin(), state.device_handles.end(),
                       [](const auto& handle) { return handle.is_live; }),
          "the map's devices were the last");
    state.device_handles.clear();
    state.hash_handles.clear();
    state.buffers.clear();
}
