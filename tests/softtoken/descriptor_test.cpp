/** What becomes of tokens when a process may not open as many files as they would take. */
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <string_view>
#include <vector>

#include "one_token_test.h"
#include "store/token_database.h"

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

class softtoken_closed_descriptors : public one_token_test {
protected:
    static constexpr int storage_failed = -122;
    static constexpr int highest = 128;

    static void close_all() {
        for (int each = 3; each <= highest; ++each)
            close(each);
    }
    std::string own_file() const { return root() + "/.own"; }
    // The program's own files get the numbers that the token's had.
    void close_all_and_open_own() const {
        close_all();
        for (int each = 3; each <= highest; ++each)
            open(own_file().c_str(), O_RDWR | O_CREAT, 0600);
    }
    static bool all_are_open() {
        bool all = true;
        for (int each = 3; each <= highest; ++each)
            all &= fcntl(each, F_GETFD) != -1;
        return all;
    }
    static bool answers(int result, VEMRA_PKI_DEVICE_HANDLE_st* device) {
        return slot_bytes(device, 8130) == "failed: " + std::to_string(result) &&
               write_slot(device, 8130, "BYTES") == result && log_in(device) == result;
    }
};

TEST_F(softtoken_closed_descriptors, files_that_get_their_numbers_are_neither_written_nor_closed) {
    EXPECT_TRUE(in_child([this] {
        device_owner device = device_at();
        if (log_in(device.get()) != 1 || write_slot(device.get(), 8130, "BYTES") != 1) return false;
        close_all_and_open_own();
        if (!answers(storage_failed, device.get())) return false;
        return in_child([] { return true; }) && all_are_open() && file_bytes(own_file()).empty();
    }));
    EXPECT_EQ(slot_bytes(device(), 8130), "BYTES");
    EXPECT_EQ(run_tool("fsck").output, "one: sound\n");
}

TEST_F(softtoken_closed_descriptors,
       token_that_lost_them_is_named_and_answers_in_that_process_no_more) {
    EXPECT_TRUE(in_child([this] {
        device_owner device = device_at();
        if (log_in(device.get()) != 1) return false;
        close_all();
        testing::internal::CaptureStderr();
        bool none = answers(storage_failed, device.get()) && attached_count() == 0;
        std::string told = "vemra-softtoken: token skipped: " + directory("one") +
                           "/token.db: this program has closed the descriptors under which it was "
                           "open, and can use it no more\n";
        none &= testing::internal::GetCapturedStderr() == told;
        detach("one");
        attach("one");
        return none && attached_count() == 0 && in_child([] { return attached_count() == 0; });
    }));
    EXPECT_EQ(attached_count(), 1);
}

TEST_F(softtoken_closed_descriptors, child_that_closes_all_of_its_own_has_the_token_still) {
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    EXPECT_TRUE(in_child([&] {
        close_all();
        return log_in(device.get()) == 1 && write_slot(device.get(), 8130, "BYTES") == 1;
    }));
    EXPECT_EQ(slot_bytes(device.get(), 8130), "BYTES");
}

TEST_F(softtoken_closed_descriptors,
       other_connections_of_the_program_to_the_database_are_its_own_matter) {
    EXPECT_TRUE(in_child([this] {
        auto own =
            std::make_unique<vemra::softtoken::token_database>(directory("one") + "/token.db");
        own->info();
        device_owner device = device_at();
        bool reads = slot_bytes(device.get(), 8130) == "bytes";
        own.reset();
        return reads && slot_bytes(device.get(), 8130) == "bytes";
    }));
}

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

TEST_F(softtoken_descriptors, message_has_no_byte_of_a_path_that_a_terminal_obeys) {
    if (checks_pointers) GTEST_SKIP() << "the sanitizer asks for descriptors of its own";
    const std::string odd = root() + "/.odd\x1b[2J";
    std::filesystem::create_directory(odd);
    setenv("VEMRA_SOFTTOKEN_DIR", odd.c_str(), 1);
    vemra::softtoken::create_token(odd, "one", plain_token("SN-odd"));
    program_result result = run("ulimit -Sn 5; " FREES_AT_EXIT);
    EXPECT_NE(result.output.find(root() + "/.odd?[2J/one/token.db"), std::string::npos)
        << result.output;
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
