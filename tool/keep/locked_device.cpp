#include "keep/locked_device.h"

#include "keep/describe.h"
#include "keep/listing.h"

namespace vemra::tool {

locked_device::locked_device(session& tokens, const device_id& device)
    : tokens_(&tokens),
      id_(device),
      lock_(device, device_lock::kind::exclusive, tokens.lock_timeout()) {}

const std::vector<stamp>& locked_device::stamps() {
    if (!stamps_) {
        const auto shown = tokens_->served().show({"reading " + describe(id_)});
        read_again();
    }
    return *stamps_;
}

void locked_device::read_again() {
    stamps_ = whole_list(*tokens_, id_);
}

}  // namespace vemra::tool
