/** What becomes of tokens when a process may not open as many files as they would take. */
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string_view>
#include <vector>

#include "token_fixture.h"

using namespace softtoken_test;

namespace {

constexpr int tokens = 9;
// The undefined behaviour sanitizer looks at pointers through a pipe.
constexpr bool checks_pointers =
    std::string_view(SANITIZERS).find("undefined") != std::string_view::npos;

// From now on this process can open so many files more.
void leave_room_for(int files) {
    int next = open("/dev/null", O_RDONLY);
    close(next);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(next + files);
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

class softtoken_descriptors : public token_test {
protected:
    softtoken_descriptors() {
        for (int i = 0; i < tokens; ++i)
            make_token("t" + std::to_string(i));
    }
    // Handles of all tokens in their order; short of some when not all are listed.
    static std::vector<device_owner> all_devices() {
        std::vector<device_owner> devices;
        for (int i = 0; i < attached_count(); ++i)
            devices.push_back(device_at(i));
        return devices;
    }
};

// An open token takes three descriptors.
TEST_F(softtoken_descriptors, tokens_beyond_the_limit_are_all_listed_and_answer) {
    EXPECT_TRUE(in_child([] {
        leave_room_for(10);
        std::vector<device_owner> devices = all_devices();
        bool all = devices.size() == tokens;
        for (int round = 0; round < 2; ++round) {
            for (std::size_t i = 0; i < devices.size(); ++i)
                all &= serial_number_of(devices[i].get()) == "SN-t" + std::to_string(i);
        }
        return all;
    }));
}

TEST_F(softtoken_descriptors, detached_tokens_beyond_the_limit_hide_nobody) {
    for (int i = 1; i < tokens; i += 2)
        detach("t" + std::to_string(i));
    EXPECT_TRUE(in_child([] {
        leave_room_for(3 * (tokens / 2 + 1));
        return attached_count() == tokens / 2 + 1 && attached_count() == tokens / 2 + 1;
    }));
}

TEST_F(softtoken_descriptors, login_outlives_the_room_that_others_need) {
    EXPECT_TRUE(in_child([] {
        leave_room_for(10);
        std::vector<device_owner> devices = all_devices();
        if (devices.size() != tokens || log_in(devices[0].get()) != 1) return false;
        for (const device_owner& each : devices)
            if (log_in(each.get()) != 1) return false;
        return fill_slot(devices[0].get(), 8130, "bytes") == 1;
    }));
}

TEST_F(softtoken_descriptors, password_is_checked_with_every_descriptor_in_use) {
    EXPECT_TRUE(in_child([] {
        std::vector<device_owner> devices = all_devices();
        leave_room_for(0);
        return log_in(devices[0].get()) == 1;
    }));
}

TEST_F(softtoken_descriptors, list_that_would_be_short_of_a_token_fails) {
    if (checks_pointers) GTEST_SKIP() << "the sanitizer asks for descriptors of its own";
    EXPECT_TRUE(in_child([] {
        leave_room_for(2);
        return VemraPKICryptoGetAllDevices(-1, 0) == nullptr && VemraPKIGetLastError() == -122;
    }));
}

TEST_F(softtoken_descriptors, message_names_the_limit_and_how_to_raise_it) {
    if (checks_pointers) GTEST_SKIP() << "the sanitizer asks for descriptors of its own";
    std::string told =
        ": this process may have no more than 5 files open: raise the limit with \"ulimit -n "
        "NUMBER\", up to 50 here\n";
    program_result result = run("ulimit -Sn 5; ulimit -Hn 50; " FREES_AT_EXIT);
    EXPECT_EQ(result.output.substr(0, 17), "vemra-softtoken: ");
    EXPECT_NE(result.output.find(told), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find("vemra-softtoken", 17), std::string::npos) << result.output;
    result = run("ulimit -Sn 5; ulimit -Hn 50; " SOFTTOKEN_TOOL " info t1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find(told), std::string::npos) << result.output;
}
