#include <unistd.h>

#include "knob_test.h"

using namespace softtoken_test;

class softtoken_knob_login : public knob_test {
protected:
    int verify(const char* given, int& retries) const {
        return VemraPKICryptoVerifyPwd(device(), 1, given, &retries);
    }
    int write() const { return write_slot(device(), 8130, "other"); }
};

TEST_F(softtoken_knob_login, reading_may_need_a_password) {
    std::string bytes;
    device_owner second = device_at();
    turn({{"login-to-read", "true"}, {"login", "handle"}});
    EXPECT_EQ(read(8130, 5, bytes), not_logged_in);
    EXPECT_EQ(told_length(8130), 5);
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(read(8130, 5, bytes), 1);
    EXPECT_EQ(slot_bytes(second.get(), 8130), "failed: -105");
}

TEST_F(softtoken_knob_login, password_may_count_for_one_change_only) {
    turn({{"login-changes", "1"}});
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(write_slot(device(), 8130, "too long"), -109);
    EXPECT_EQ(write(), 1);
    EXPECT_EQ(write(), not_logged_in);
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(write(), 1);
}

TEST_F(softtoken_knob_login, password_may_count_for_so_many_calls) {
    turn({{"login-calls", "2"}});
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(told_length(8130), 5);
    EXPECT_EQ(write(), 1);
    EXPECT_EQ(write(), not_logged_in);
}

TEST_F(softtoken_knob_login, password_may_count_for_so_many_seconds) {
    turn({{"login-seconds", "1"}});
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(write(), 1);
    usleep(1100000);
    EXPECT_EQ(write(), not_logged_in);
}

TEST_F(softtoken_knob_login, wrong_password_may_leave_the_login_alone) {
    EXPECT_EQ(log_in(device(), "wrong"), wrong_password);
    EXPECT_EQ(write(), not_logged_in);
    turn({{"failed-login", "keeps-login"}});
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(log_in(device(), "wrong"), wrong_password);
    EXPECT_EQ(write(), 1);
}

TEST_F(softtoken_knob_login, attempts_that_are_left_are_told_in_other_ways) {
    const struct {
        const char* knob;
        int right;
        int wrong;
    } ways[] = {{"left", 10, 9}, {"zero", 0, 0}, {"untouched", 77, 77}, {"after-failure", 77, 9}};
    for (const auto& way : ways) {
        turn({{"retries-told", way.knob}});
        int retries = 77;
        EXPECT_EQ(verify("wrong", retries), wrong_password);
        EXPECT_EQ(retries, way.wrong) << way.knob;
        retries = 77;
        EXPECT_EQ(verify(password, retries), 1);
        EXPECT_EQ(retries, way.right) << way.knob;
    }
}
