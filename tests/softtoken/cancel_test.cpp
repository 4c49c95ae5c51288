// A thread that is cancelled inside a call ends when the call has ended.

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "token_fixture.h"

using namespace softtoken_test;

namespace {

struct slow_call {
    VEMRA_PKI_DEVICE_HANDLE_st* device = nullptr;
    std::atomic<bool> begun{false};
    std::atomic<int> result{0};
    int type = PTHREAD_CANCEL_DEFERRED;
};

void* _ask_slowly(void* given) {
    auto& call = *static_cast<slow_call*>(given);
    pthread_setcanceltype(call.type, nullptr);
    call.begun = true;
    call.result = VemraPKICryptoGetType(call.device);
    pthread_testcancel();
    return nullptr;
}

}  // namespace

class softtoken_cancel : public token_test {
protected:
    // Cancels the thread in the midst of a call that takes its time; true when it was unwound.
    static bool cancel_inside(slow_call& call) {
        pthread_t thread{};
        if (pthread_create(&thread, nullptr, _ask_slowly, &call) != 0) return false;
        while (!call.begun)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        pthread_cancel(thread);
        void* end = nullptr;
        pthread_join(thread, &end);
        return end == PTHREAD_CANCELED;
    }
    void make_slow_token() {
        auto token = plain_token("SN-1");
        token.info.behaviour.call_microseconds = 300'000;
        make_token("one", token);
    }
};

TEST_F(softtoken_cancel, call_ends_before_its_thread_and_the_token_goes_on) {
    make_slow_token();
    EXPECT_TRUE(in_child([] {
        device_owner device = device_at();
        slow_call call{device.get(), {}, {}, PTHREAD_CANCEL_DEFERRED};
        return cancel_inside(call) && call.result == 1 && VemraPKICryptoGetType(device.get()) == 1;
    }));
}

TEST_F(softtoken_cancel, thread_that_may_be_cancelled_at_any_moment_does_not_end_the_process) {
    make_slow_token();
    EXPECT_TRUE(in_child([] {
        device_owner device = device_at();
        slow_call call{device.get(), {}, {}, PTHREAD_CANCEL_ASYNCHRONOUS};
        cancel_inside(call);
        return VemraPKICryptoGetType(device.get()) == 1;
    }));
}
