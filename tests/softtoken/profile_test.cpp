#include <array>
#include <chrono>

#include "one_token_test.h"

using namespace softtoken_test;

class softtoken_profile : public one_token_test {};

TEST_F(softtoken_profile, profile_sets_limits_of_a_running_token) {
    ASSERT_EQ(run_tool("profile one --profile small --login process --slots 2").status, 0);
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

TEST_F(softtoken_profile, bytes_take_their_time_when_made_read_and_written) {
    ASSERT_EQ(run_tool("profile one --bytes-per-second 50").status, 0);
    auto takes_100_ms = [](const std::function<int()>& call) {
        auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(call(), 1);
        return std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(100);
    };
    std::array<unsigned char, 5> buffer{};
    int length = 0;
    EXPECT_TRUE(takes_100_ms([&] { return create_slot(device(), 8131, 5); }));
    EXPECT_TRUE(takes_100_ms([&] { return write_slot(device(), 8131, "other"); }));
    EXPECT_TRUE(takes_100_ms(
        [&] { return VemraPKICryptoReadData(device(), 8131, buffer.data(), 5, &length); }));
}

TEST_F(softtoken_profile, bytes_that_never_move_take_no_time) {
    ASSERT_EQ(run_tool("profile one --bytes-per-second 1000 --slot-size 1000").status, 0);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(create_slot(device(), 8131, 30000), -112);
    EXPECT_EQ(create_slot(device(), 8130, 900), -108);
    EXPECT_EQ(write_slot(device(), 8130, std::string(30000, 'x')), -109);
    EXPECT_EQ(write_slot(device(), 8132, std::string(30000, 'x')), no_such_slot);
    std::string buffer(30000, '\0');
    int length = 0;
    EXPECT_EQ(VemraPKICryptoReadData(
                  device(), 8132, reinterpret_cast<unsigned char*>(buffer.data()), 30000, &length),
              no_such_slot);
    EXPECT_EQ(VemraPKICryptoReadData(
                  device(), 8130, reinterpret_cast<unsigned char*>(buffer.data()), 30000, &length),
              1);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
}

TEST_F(softtoken_profile, capacity_of_a_running_token_is_that_of_all_slots_together) {
    constexpr int full = -111;
    ASSERT_EQ(run_tool("profile one --capacity 12").status, 0);
    EXPECT_EQ(create_slot(device(), 8131, 8), full);
    EXPECT_EQ(create_slot(device(), 8131, 7), 1);
    EXPECT_EQ(create_slot(device(), 8132, 1), full);
    ASSERT_EQ(run_tool("profile one --capacity 13").status, 0);
    EXPECT_EQ(create_slot(device(), 8132, 1), 1);
}

TEST_F(softtoken_profile, token_over_its_capacity_takes_no_slot_and_keeps_those_it_has) {
    constexpr int full = -111;
    ASSERT_EQ(run_tool("profile one --capacity 4").status, 0);
    EXPECT_EQ(create_slot(device(), 8133, 1), full);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
    EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), 1);
}

TEST_F(softtoken_profile, attempts_and_login_scope_of_a_running_token_change_too) {
    ASSERT_EQ(run_tool("profile one --login handle --retries 3").status, 0);
    device_owner second = device_at();
    EXPECT_EQ(write_slot(second.get(), 8130, "other"), not_logged_in);
    ASSERT_EQ(log_in(second.get()), 1);
    EXPECT_EQ(write_slot(second.get(), 8130, "other"), 1);
    int retries = 0;
    EXPECT_EQ(VemraPKICryptoVerifyPwd(second.get(), 1, "wrong", &retries), wrong_password);
    EXPECT_EQ(retries, 2);
    ASSERT_EQ(run_tool("profile one --login none").status, 0);
    EXPECT_EQ(write_slot(second.get(), 8130, "third"), 1);
}

TEST_F(softtoken_profile, attempts_that_were_taken_stay_taken) {
    int retries = 0;
    VemraPKICryptoVerifyPwd(device(), 1, "wrong", &retries);
    ASSERT_EQ(retries, 9);
    const std::pair<const char*, const char*> changes[] = {
        {"20", "19 of 20"}, {"3", "2 of 3"}, {"1", "1 of 1"}};
    for (const auto& [most, left] : changes) {
        ASSERT_EQ(run_tool(std::string("profile one --retries ") + most).status, 0);
        std::string shown = run_tool("info one").output;
        EXPECT_NE(shown.find(std::string("attempts left:  ") + left), std::string::npos) << shown;
    }
    ASSERT_EQ(log_in(device(), "wrong"), wrong_password);
    ASSERT_EQ(run_tool("profile one --retries 5").status, 0);
    EXPECT_EQ(log_in(device()), locked);
}

TEST_F(softtoken_profile, named_profiles_are_what_they_are) {
    const std::pair<const char*, const char*> named[] = {
        {"generous",
         "login scope:    process\n"
         "attempts left:  10 of 10\n"
         "slots:          1 of 1000\n"
         "bytes:          5 of 1073741824, at most 67108864 a slot\n"
         "speed:          0 microseconds a call, bytes at once\n"},
        {"small",
         "login scope:    handle\n"
         "attempts left:  3 of 3\n"
         "slots:          1 of 8\n"
         "bytes:          5 of 131072, at most 32768 a slot\n"
         "speed:          0 microseconds a call, bytes at once\n"},
        {"slow",
         "login scope:    process\n"
         "attempts left:  5 of 5\n"
         "slots:          1 of 32\n"
         "bytes:          5 of 2097152, at most 1048576 a slot\n"
         "speed:          20000 microseconds a call, 40960 bytes a second\n"}};
    for (const auto& [name, values] : named) {
        ASSERT_EQ(run_tool(std::string("profile one --profile ") + name).status, 0);
        std::string shown = run_tool("info one").output;
        EXPECT_NE(shown.find(values), std::string::npos) << shown;
    }
}

TEST_F(softtoken_profile, single_values_go_over_the_named_ones) {
    ASSERT_EQ(run_tool("create two --profile small --retries 7 --slots 2 --password-cost 1 "
                       "--password-fd 0",
                       password)
                  .status,
              0);
    std::string shown = run_tool("info two").output;
    EXPECT_NE(
        shown.find("login scope:    handle\nattempts left:  7 of 7\nslots:          0 of 2\n"),
        std::string::npos)
        << shown;
}

TEST_F(softtoken_profile, values_that_cannot_be_are_refused_and_change_nothing) {
    std::string before = run_tool("info one").output;
    for (const char* wrong :
         {"--capacity -5", "--slot-size x", "--slots -1", "--bytes-per-second -1",
          "--call-delay 60001", "--retries 0", "--login never", "--profile huge", ""}) {
        program_result result = run_tool(std::string("profile one ") + wrong);
        EXPECT_EQ(result.status, 2) << wrong;
        EXPECT_NE(result.output, "") << wrong;
        if (*wrong == '\0') continue;
        EXPECT_EQ(run_tool(std::string("create two --password-fd 0 ") + wrong, password).status, 2);
    }
    EXPECT_EQ(run_tool("info one").output, before);
    EXPECT_EQ(attached_count(), 1);
}
