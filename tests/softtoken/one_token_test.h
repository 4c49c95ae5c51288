#pragma once

#include "token_fixture.h"

namespace softtoken_test {

/* One token with "bytes" in slot 8130, and its handle, logged in. */
class one_token_test : public token_test {
protected:
    one_token_test() {
        make_token("one");
        device_ = device_at();
        log_in(device());
        fill_slot(device(), 8130, "bytes");
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

}  // namespace softtoken_test
