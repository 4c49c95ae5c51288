#include "keep/locked_device.h"

#include "basics/failure.h"
#include "keep/describe.h"
#include "keep/listing.h"

namespace vemra::tool {

locked_device::locked_device(session& tokens, const device_id& device)
    : tokens_(&tokens),
      id_(device),
      lock_(device, device_lock::kind::exclusive, tokens.deadline()) {}

const std::vector<stamp>& locked_device::stamps() {
    if (!stamps_) stamps_ = whole_list(*tokens_, id_, "reading " + describe(id_));
    return *stamps_;
}

void locked_device::read_again() {
    stamps_ = whole_list(*tokens_, id_, "reading back");
}

void locked_device::read_changed(int slot) {
    stamps_ = changed_list(*tokens_, id_, stamps(), slot);
}

locked_device lock_with_password(session& tokens, const device_id& device, const look_up& wanted) {
    for (;;) {
        tokens.ask_password(device);
        std::optional<failure> refusal;
        {
            locked_device locked(tokens, device);
            wanted(locked);
            refusal = tokens.verify_password(device);
            if (!refusal) return locked;
        }
        if (!tokens.served().try_again(refusal->facts().attempts_left.value_or(0))) throw *refusal;
    }
}

}  // namespace vemra::tool
