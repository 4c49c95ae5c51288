// The right password never costs an attempt for good; a wrong one always does.

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string_view>
#include <thread>

#include "store/attempt_note.h"
#include "store/password_check.h"
#include "store/token_database.h"
#include "support/child_process.h"
#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_attempt : public token_test {
protected:
    static constexpr int most = 3;
    static constexpr int busy = -121;

    void use(int password_cost = 1) {
        auto token = plain_token("SN-1");
        token.info.behaviour.retries = most;
        token.password_cost = password_cost;
        make_token("one", token);
    }
    // Asked in a child, so that this process never has the token open.
    int left() const {
        int left = -1;
        for (int candidate = 0; candidate <= most; ++candidate) {
            if (in_child([&] { return now_left() == candidate; })) left = candidate;
        }
        return left;
    }
    int now_left() const {
        using namespace vemra::softtoken;
        token_database database(directory("one") + "/token.db");
        password_table passwords(database.connection());
        return attempts(passwords, directory("one")).left;
    }
    static bool gives(const char* word, int result) {
        return in_child([=] { return log_in(device_at().get(), word) == result; });
    }
    void await_attempt() const {
        while (!vemra::softtoken::is_attempt_noted(directory("one")))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    // A process that changes the token until it is killed.
    child_process start_changing() const {
        using namespace vemra::softtoken;
        child_process holder([this]() -> bool {
            token_database database(directory("one") + "/token.db");
            transaction changing(database);
            std::ofstream(root() + "/.holds").flush();
            for (;;)
                pause();
        });
        while (access((root() + "/.holds").c_str(), F_OK) != 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return holder;
    }
};

TEST_F(softtoken_attempt, killed_check_costs_one_until_the_next_right_password) {
    use(17);
    child_process child([] { return log_in(device_at().get()) == 1; });
    await_attempt();
    child.end();
    EXPECT_EQ(left(), most - 1);
    EXPECT_NE(run_tool("info one").output.find("attempts left:  2 of 3"), std::string::npos);
    EXPECT_TRUE(gives(password, 1));
    EXPECT_EQ(left(), most);
}

TEST_F(softtoken_attempt, attempt_of_a_killed_check_counts_beside_a_wrong_password) {
    use(17);
    child_process child([] { return log_in(device_at().get(), "wrong") == 1; });
    await_attempt();
    child.end();
    EXPECT_TRUE(gives("wrong", wrong_password));
    EXPECT_EQ(left(), most - 2);
}

TEST_F(softtoken_attempt, unlock_gives_back_that_of_a_killed_check_too) {
    use(17);
    child_process child([] { return log_in(device_at().get()) == 1; });
    await_attempt();
    child.end();
    ASSERT_EQ(run_tool("unlock one").status, 0);
    EXPECT_EQ(left(), most);
}

TEST_F(softtoken_attempt, right_password_waits_for_no_writer_while_all_attempts_are_left) {
    use();
    child_process holder = start_changing();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(gives(password, 1));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    holder.end();
    EXPECT_EQ(left(), most);
}

// Each waits as long as a call waits for others.
TEST_F(softtoken_attempt, busy_token_hands_back_a_right_attempt) {
    use();
    ASSERT_TRUE(gives("wrong", wrong_password));
    child_process holder = start_changing();
    EXPECT_TRUE(gives(password, busy));
    EXPECT_EQ(left(), most - 1);
    holder.end();
    EXPECT_EQ(left(), most - 1);
}

TEST_F(softtoken_attempt, busy_token_keeps_a_wrong_attempt_until_the_right_password) {
    use();
    ASSERT_TRUE(gives("wrong", wrong_password));
    child_process holder = start_changing();
    EXPECT_TRUE(gives("wrong", busy));
    EXPECT_EQ(left(), most - 2);
    holder.end();
    EXPECT_EQ(left(), most - 2);
    EXPECT_TRUE(gives(password, 1));
    EXPECT_EQ(left(), most);
}

TEST_F(softtoken_attempt, no_memory_for_the_hash_costs_nothing) {
    if (!std::string_view(SANITIZERS).empty())
        GTEST_SKIP() << "a sanitizer takes more room than any limit allows";
    use(17);
    for (int round = 0; round <= most; ++round) {
        EXPECT_TRUE(in_child([] {
            device_owner device = device_at();
            rlimit little{};
            getrlimit(RLIMIT_AS, &little);
            little.rlim_cur = rlim_t{100} << 20;
            if (setrlimit(RLIMIT_AS, &little) != 0) return false;
            const int result = log_in(device.get());
            return result == -124 || result == -103;
        }));
    }
    EXPECT_EQ(left(), most);
    EXPECT_TRUE(gives(password, 1));
}

class softtoken_leaving_main : public softtoken_attempt {
protected:
    void leave_often(const std::string& mode) {
        use(8);
        for (int round = 0; round < 60; ++round) {
            const program_result result = run(LEAVES_MAIN " " + mode + std::to_string(round * 300));
            ASSERT_EQ(result.status, 0) << "round " << round << ": " << result.output;
            ASSERT_FALSE(vemra::softtoken::is_attempt_noted(directory("one"))) << round;
        }
        EXPECT_EQ(left(), most);
    }
};

TEST_F(softtoken_leaving_main, threads_inside_calls_neither_crash_nor_cost_an_attempt) {
    leave_often("");
}

TEST_F(softtoken_leaving_main, threads_inside_calls_outlive_the_end_of_openssl) {
    leave_often("openssl ");
}

TEST_F(softtoken_leaving_main, password_can_be_verified_in_a_static_destructor) {
    use();
    const program_result result = run(LEAVES_MAIN " destructor");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "1\n");
}

TEST_F(softtoken_leaving_main, password_is_refused_at_no_cost_after_the_end_of_openssl) {
    use();
    const program_result result = run(LEAVES_MAIN " openssl destructor");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "-124\n");
    EXPECT_EQ(left(), most);
}
