#include <filesystem>

#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_password : public token_test {
protected:
    void use(vemra::softtoken::login_scope scope, int retries = 3) {
        auto token = plain_token("SN-1");
        token.info.behaviour.login = scope;
        token.info.behaviour.retries = retries;
        make_token("one", token);
        device_ = device_at();
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }
    int verify(const char* given, int& retries) {
        return VemraPKICryptoVerifyPwd(device(), 1, given, &retries);
    }

    static constexpr auto process = vemra::softtoken::login_scope::process;
    static constexpr auto handle = vemra::softtoken::login_scope::handle;
    static constexpr auto none = vemra::softtoken::login_scope::none;

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_password, each_wrong_password_takes_one_retry) {
    use(process);
    int retries = 0;
    EXPECT_EQ(verify("wrong", retries), wrong_password);
    EXPECT_EQ(retries, 2);
    EXPECT_EQ(verify("", retries), wrong_password);
    EXPECT_EQ(retries, 1);
}

TEST_F(softtoken_password, right_password_gives_all_retries_back) {
    use(process);
    int retries = 0;
    verify("wrong", retries);
    EXPECT_EQ(verify(password, retries), 1);
    EXPECT_EQ(retries, 3);
    verify("wrong", retries);
    EXPECT_EQ(retries, 2);
}

TEST_F(softtoken_password, token_without_retries_is_locked_even_for_the_right_password) {
    use(process, 1);
    int retries = 7;
    EXPECT_EQ(verify("wrong", retries), wrong_password);
    EXPECT_EQ(retries, 0);
    EXPECT_EQ(verify(password, retries), locked);
    EXPECT_EQ(retries, 0);
    EXPECT_STREQ(VemraPKIGetErrorMsg(locked), "device locked");
}

TEST_F(softtoken_password, retry_counter_outlives_the_process) {
    use(process);
    ASSERT_TRUE(in_child([] { return log_in(device_at().get(), "wrong") == wrong_password; }));
    int retries = 0;
    EXPECT_EQ(verify("wrong", retries), wrong_password);
    EXPECT_EQ(retries, 1);
}

TEST_F(softtoken_password, changing_slots_needs_a_verified_password) {
    use(process);
    ASSERT_EQ(log_in(device()), 1);
    ASSERT_EQ(fill_slot(device(), 8130, "bytes"), 1);
    log_in(device(), "wrong");
    EXPECT_EQ(create_slot(device(), 8131, 4), not_logged_in);
    EXPECT_EQ(write_slot(device(), 8130, "other"), not_logged_in);
    EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), not_logged_in);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_password, reading_needs_no_password) {
    use(process);
    ASSERT_TRUE(in_child([] {
        device_owner device = device_at();
        return log_in(device.get()) == 1 && fill_slot(device.get(), 8130, "bytes") == 1;
    }));
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_password, login_counts_for_every_handle_of_the_process) {
    use(process);
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(create_slot(device_at().get(), 8130, 4), 1);
}

TEST_F(softtoken_password, login_counts_in_its_own_process_only) {
    use(process);
    ASSERT_TRUE(in_child([] { return log_in(device_at().get()) == 1; }));
    EXPECT_EQ(create_slot(device(), 8130, 4), not_logged_in);
}

TEST_F(softtoken_password, login_of_a_handle_counts_for_that_handle_only) {
    use(handle);
    ASSERT_EQ(log_in(device()), 1);
    EXPECT_EQ(create_slot(device_at().get(), 8130, 4), not_logged_in);
    EXPECT_EQ(create_slot(device(), 8130, 4), 1);
}

TEST_F(softtoken_password, duplicated_handle_begins_logged_out) {
    use(handle);
    ASSERT_EQ(log_in(device()), 1);
    device_owner second(VemraPKICryptoDupDevice(device()), VemraPKICryptoFreeDevice);
    EXPECT_EQ(create_slot(second.get(), 8130, 4), not_logged_in);
    EXPECT_EQ(log_in(second.get()), 1);
    EXPECT_EQ(create_slot(second.get(), 8130, 4), 1);
}

TEST_F(softtoken_password, token_without_login_takes_changes_at_once) {
    use(none);
    EXPECT_EQ(create_slot(device(), 8130, 4), 1);
}

TEST_F(softtoken_password, other_password_types_are_refused_without_taking_a_retry) {
    use(process);
    int retries = 0;
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device(), 2, password, &retries), -115);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device(), 1, nullptr, &retries), -102);
    EXPECT_EQ(verify("wrong", retries), wrong_password);
    EXPECT_EQ(retries, 2);
}

TEST_F(softtoken_password, retry_count_may_be_left_out) {
    use(process);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(device(), 1, password, nullptr), 1);
}

TEST_F(softtoken_password, retry_count_stays_when_the_token_cannot_be_asked) {
    use(process);
    int retries = 77;
    ASSERT_EQ(run_tool("fault add one 'VerifyPwd return=-122'").status, 0);
    EXPECT_EQ(verify(password, retries), -122);
    detach("one");
    EXPECT_EQ(verify(password, retries), removed);
    EXPECT_EQ(retries, 77);
}

TEST_F(softtoken_password, password_is_in_no_file) {
    use(process);
    ASSERT_EQ(log_in(device()), 1);
    ASSERT_EQ(fill_slot(device(), 8130, "seal picture"), 1);
    bool found_slot_bytes = false;
    for (const auto& entry : std::filesystem::directory_iterator(directory("one"))) {
        std::string bytes = file_bytes(entry.path());
        EXPECT_EQ(bytes.find(password), std::string::npos) << entry.path();
        found_slot_bytes |= bytes.find("seal picture") != std::string::npos;
    }
    EXPECT_TRUE(found_slot_bytes);
}

TEST_F(softtoken_password, same_password_is_stored_differently_each_time) {
    auto first = vemra::softtoken::hash_password(password, 1);
    auto second = vemra::softtoken::hash_password(password, 1);
    EXPECT_NE(first.salt, second.salt);
    EXPECT_NE(first.hash, second.hash);
    EXPECT_TRUE(vemra::softtoken::matches(first, password));
    EXPECT_FALSE(vemra::softtoken::matches(first, "correct horsE"));
}
