// The fake's buffers and error texts.

#include <algorithm>

#include "support/fake_call.h"

namespace {

fake_buffer* _find(fake_state& state, const void* memory) {
    // The newest first: memory is used again.
    const auto found =
        std::find_if(state.buffers.rbegin(), state.buffers.rend(),
                     [memory](const fake_buffer& buffer) { return buffer.bytes.data() == memory; });
    return found == state.buffers.rend() ? nullptr : &*found;
}

}  // namespace

int VemraPKICryptoFreeMemory(void* memory) {
    const call_scope scope;
    fake_buffer* buffer = memory == nullptr ? nullptr : _find(the_state(), memory);
    if (memory != nullptr && buffer == nullptr) {
        the_state().misuses.emplace_back("VemraPKICryptoFreeMemory of a foreign buffer");
    }
    return perform_release("VemraPKICryptoFreeMemory", text(buffer), buffer);
}

int VemraPKIGetLastError(void) {
    const call_scope scope;
    throw_if_due(the_state().enter("VemraPKIGetLastError", {}));
    return the_state().last_error;
}

const char* VemraPKIGetErrorMsg(int code) {
    const call_scope scope;
    fake_state& state = the_state();
    throw_if_due(state.enter("VemraPKIGetErrorMsg", {text(code)}));
    const auto found = state.error_texts.find(code);
    if (found == state.error_texts.end()) return "unknown error";
    return found->second ? found->second->c_str() : nullptr;
}
