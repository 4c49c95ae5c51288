#include <chrono>

#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_profile : public token_test {
protected:
    softtoken_profile() {
        make_token("one");
        device_ = device_at();
        log_in(device());
        fill_slot(device(), 8130, "bytes");
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_profile, profile_sets_limits_of_a_running_token) {
    ASSERT_EQ(run_tool("profile one --profile small --slots 2").status, 0);
    EXPECT_EQ(create_slot(device(), 8131, 40000), -112);
    EXPECT_EQ(create_slot(device(), 8131, 4), 1);
    EXPECT_EQ(create_slot(device(), 8132, 4), -113);
}

TEST_F(softtoken_profile, slow_profile_makes_calls_take_their_time) {
    ASSERT_EQ(run_tool("profile one --call-delay 30 --bytes-per-second 100").status, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(110));
}
