#include <cstdlib>
#include <regex>
#include <sstream>

#include "token_fixture.h"

using namespace softtoken_test;

namespace {

constexpr const char* slot_canary = "canary-of-a-seal";
constexpr const char* wrong_canary = "canary-of-a-guess";

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

// The trace is looked up at a process's first call, so it is set before any.
class softtoken_trace : public token_test {
protected:
    softtoken_trace() {
        auto token = plain_token("SN-one");
        token.password = password_canary;
        make_token("one", token);
        setenv("VEMRA_SOFTTOKEN_TRACE", file().c_str(), 1);
    }
    std::string file() const { return root() + "/.trace"; }
    std::string traced() const { return file_bytes(file()); }

    static constexpr const char* password_canary = "canary-of-a-password";
};

TEST_F(softtoken_trace, tells_function_slot_size_result_and_time_of_each_call) {
    device_owner device = device_at();
    log_in(device.get(), password_canary);
    fill_slot(device.get(), 8130, slot_canary);
    slot_bytes(device.get(), 8131);
    const std::regex line(R"(VemraPKI\w+ slot=(-|\d+) size=(-|\d+) result=-?\d+ microseconds=\d+)");
    std::istringstream lines(traced());
    std::string names;
    for (std::string text; std::getline(lines, text);) {
        EXPECT_TRUE(std::regex_match(text, line)) << text;
        names += text.substr(0, text.find(" microseconds")) + "\n";
    }
    EXPECT_EQ(names,
              "VemraPKICryptoGetAllDevices slot=- size=- result=1\n"
              "VemraPKICryptoGetDevice slot=- size=- result=1\n"
              "VemraPKICryptoVerifyPwd slot=- size=- result=1\n"
              "VemraPKICryptoCreateData slot=8130 size=16 result=1\n"
              "VemraPKICryptoWriteData slot=8130 size=16 result=1\n"
              "VemraPKICryptoGetDataLength slot=8131 size=- result=-7\n");
}

TEST_F(softtoken_trace, has_neither_passwords_nor_bytes_of_slots) {
    device_owner device = device_at();
    log_in(device.get(), wrong_canary);
    log_in(device.get(), password_canary);
    fill_slot(device.get(), 8130, slot_canary);
    EXPECT_EQ(slot_bytes(device.get(), 8130), slot_canary);
    auto* hash = VemraPKICryptoNewHash(device.get(), 0x7000);
    VemraPKICryptoHashUpdate(hash, slot_canary, 16);
    VemraPKICryptoFreeHash(hash);
    EXPECT_TRUE(has(traced(), "VerifyPwd slot=- size=- result=-106"));
    EXPECT_TRUE(has(traced(), "ReadData slot=8130 size=16 result=1"));
    EXPECT_TRUE(has(traced(), "HashUpdate slot=- size=16 result=1"));
    EXPECT_FALSE(has(traced(), "canary")) << traced();
}

TEST_F(softtoken_trace, microseconds_are_those_of_the_call) {
    ASSERT_EQ(run_tool("profile one --call-delay 30").status, 0);
    device_owner device = device_at();
    EXPECT_EQ(VemraPKICryptoGetType(device.get()), 1);
    std::smatch found;
    std::string text = traced();
    ASSERT_TRUE(std::regex_search(text, found, std::regex("GetType .* microseconds=(\\d+)")));
    EXPECT_GE(std::stol(found[1]), 30000);
}

TEST_F(softtoken_trace, lines_of_several_processes_are_whole) {
    constexpr int calls = 400;
    auto read_often = [](int) {
        device_owner device = device_at();
        int length = 0;
        for (int i = 0; i < calls; ++i)
            slot_length(device.get(), 8130, length);
        return true;
    };
    ASSERT_EQ(at_once(3, read_often), 3);
    std::istringstream lines(traced());
    const std::regex line("VemraPKI\\w+ slot=.* microseconds=\\d+");
    int lengths = 0;
    for (std::string text; std::getline(lines, text);) {
        ASSERT_TRUE(std::regex_match(text, line)) << text;
        lengths += has(text, "GetDataLength slot=8130") ? 1 : 0;
    }
    EXPECT_EQ(lengths, 3 * calls);
}

TEST_F(softtoken_trace, call_that_ends_the_process_is_told) {
    setenv("VEMRA_SOFTTOKEN_FAULTS", "GetType die=after", 1);
    EXPECT_FALSE(in_child([] { return VemraPKICryptoGetType(device_at().get()) == 1; }));
    EXPECT_TRUE(has(traced(), "VemraPKICryptoGetType slot=- size=- result=killed microseconds="));
}

TEST_F(softtoken_trace, is_private_to_the_user) {
    attached_count();
    EXPECT_EQ(run("stat -c %a " + file()).output, "600\n");
}

TEST_F(softtoken_trace, file_that_cannot_be_written_is_named_and_the_program_runs) {
    setenv("VEMRA_SOFTTOKEN_TRACE", "/no/such/directory/trace", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vemra-softtoken: cannot write the trace file /no/such/directory/trace\n");
}
