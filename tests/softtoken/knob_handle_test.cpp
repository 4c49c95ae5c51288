#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "knob_test.h"
#include "support/child_process.h"

using namespace softtoken_test;

class softtoken_knob_handle : public knob_test {
protected:
    // A second call while a first one takes its time: what it gives.
    int second_call_at_once() const {
        std::thread first([this] { told_length(8130); });
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        const int result = told_length(8130);
        first.join();
        return result;
    }
    void replug() {
        detach("one");
        attach("one");
    }
};

TEST_F(softtoken_knob_handle, handle_comes_back_or_stays_dead_after_replugging) {
    replug();
    EXPECT_EQ(told_length(8130), 5);
    device_owner listed_now = device_at();
    turn({{"handles", "stay-dead"}});
    EXPECT_EQ(told_length(8130), removed);
    EXPECT_EQ(slot_bytes(listed_now.get(), 8130), "bytes");
    replug();
    EXPECT_EQ(slot_bytes(listed_now.get(), 8130), "failed: -104");
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
    EXPECT_EQ(slot_bytes(listed_now.get(), 8130), "failed: -104");
    device_owner copy(VemraPKICryptoDupDevice(listed_now.get()), VemraPKICryptoFreeDevice);
    EXPECT_EQ(slot_bytes(copy.get(), 8130), "failed: -104");
}

TEST_F(softtoken_knob_handle, token_may_be_the_first_processs_alone) {
    turn({{"access", "first-process"}});
    EXPECT_EQ(attached_count(), 1);
    auto is_refused = [] { return slot_bytes(device_at().get(), 8130) == "failed: -121"; };
    EXPECT_TRUE(in_child(is_refused));
    EXPECT_EQ(told_length(8130), 5);
    turn({{"access", "first-process-hides"}});
    EXPECT_EQ(attached_count(), 1);
    EXPECT_TRUE(in_child([] { return attached_count() == 0; }));
    turn({});
    EXPECT_TRUE(in_child([] { return slot_bytes(device_at().get(), 8130) == "bytes"; }));
}

TEST_F(softtoken_knob_handle, token_is_free_again_when_the_first_process_has_ended) {
    turn({{"access", "first-process"}});
    EXPECT_TRUE(in_child([] { return slot_bytes(device_at().get(), 8130) == "bytes"; }));
    EXPECT_EQ(told_length(8130), 5);
}

TEST_F(softtoken_knob_handle, token_may_have_one_handle_at_a_time) {
    turn({{"access", "one-handle"}});
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(device_at().get(), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), -121);
    EXPECT_EQ(VemraPKICryptoDupDevice(device()), nullptr);
    EXPECT_EQ(told_length(8130), 5);
}

TEST_F(softtoken_knob_handle, second_threads_call_waits_or_is_answered_busy) {
    turn({{"call-delay", "500"}});
    EXPECT_EQ(second_call_at_once(), 5);
    turn({{"call-delay", "500"}, {"threads", "busy"}});
    told_length(8130);
    EXPECT_EQ(second_call_at_once(), -121);
    EXPECT_EQ(told_length(8130), 5);
}

TEST_F(softtoken_knob_handle, second_threads_call_may_crash_the_process) {
    turn({{"call-delay", "500"}, {"threads", "crash"}});
    told_length(8130);
    child_process child([this] {
        std::signal(SIGSEGV, SIG_DFL);
        second_call_at_once();
        return true;
    });
    EXPECT_FALSE(child.succeeds());
}

TEST_F(softtoken_knob_handle, first_call_of_each_process_may_take_longer) {
    using std::chrono::milliseconds;
    turn({{"first-call-delay", "300"}});
    auto takes_long = [this] {
        const auto start = std::chrono::steady_clock::now();
        told_length(8130);
        return std::chrono::steady_clock::now() - start >= milliseconds(300);
    };
    EXPECT_FALSE(takes_long());
    EXPECT_TRUE(in_child([&] { return takes_long() && !takes_long(); }));
}

TEST_F(softtoken_knob_handle, call_may_never_end) {
    turn({{"never-ends", "GetDataLength"}});
    child_process child([this] {
        std::string bytes;
        if (read(8130, 5, bytes) != 1) return true;
        alarm(1);
        told_length(8130);
        return true;
    });
    EXPECT_FALSE(child.succeeds());
}
