#include "store/fault.h"

#include "store/failure.h"
#include "store/fault_file.h"
#include "token_fixture.h"

using namespace softtoken_test;
using vemra::softtoken::fault_plan;
using vemra::softtoken::parse_fault;
using vemra::softtoken::parse_faults;

namespace {

// For each of the calls, whether the fault fires.
std::string firing(const std::string& text, int calls) {
    fault_plan plan(parse_faults(text));
    std::string fired;
    for (int i = 0; i < calls; ++i) {
        fired += plan.due("VemraPKICryptoReadData", 8130) ? 'x' : '.';
    }
    return fired;
}

}  // namespace

TEST(softtoken_fault_text, transient_fault_fires_at_its_call_only) {
    EXPECT_EQ(firing("ReadData return=-5", 4), "x...");
    EXPECT_EQ(firing("ReadData call=3 return=-5", 5), "..x..");
}

TEST(softtoken_fault_text, lasting_fault_fires_from_its_call_on) {
    EXPECT_EQ(firing("ReadData call=3 return=-5 lasting", 5), "..xxx");
}

TEST(softtoken_fault_text, slot_and_function_must_fit) {
    EXPECT_EQ(firing("ReadData slot=8130 return=-5", 1), "x");
    EXPECT_EQ(firing("ReadData slot=8131 return=-5", 1), ".");
    EXPECT_EQ(firing("WriteData return=-5", 1), ".");
    EXPECT_EQ(firing("VemraPKICryptoReadData return=-5", 1), "x");
    EXPECT_EQ(firing("* return=-5", 1), "x");
}

TEST(softtoken_fault_text, chance_is_drawn_from_the_seed) {
    std::string once = firing("ReadData chance=0.3 seed=4 return=-5 lasting", 50);
    EXPECT_EQ(once, firing("ReadData chance=0.3 seed=4 return=-5 lasting", 50));
    EXPECT_NE(once, firing("ReadData chance=0.3 seed=5 return=-5 lasting", 50));
    EXPECT_EQ(firing("ReadData chance=0 return=-5 lasting", 9), ".........");
    EXPECT_EQ(firing("ReadData chance=1 return=-5 lasting", 9), "xxxxxxxxx");
}

TEST(softtoken_fault_text, several_are_separated_by_semicolons_or_line_ends) {
    EXPECT_EQ(parse_faults("ReadData null; WriteData unplug\n\nNewHash delay=5;").size(), 3U);
    EXPECT_TRUE(parse_faults("").empty());
}

TEST(softtoken_fault_text, wrong_text_is_refused) {
    for (const char* text :
         {"", "Fly null", "FreeDevice null", "ReadData", "ReadData null unplug",
          "ReadData slot=x null", "ReadData call=0 null", "ReadData chance=2 null",
          "ReadData torn=4", "WriteData torn=-1", "ReadData delay=-1",
          "ReadData return=", "ReadData die=later", "ReadData null often"}) {
        EXPECT_THROW(parse_fault(text), vemra::softtoken::failure) << text;
    }
}

class softtoken_fault : public token_test {
protected:
    softtoken_fault() {
        make_token("one");
        device_ = device_at();
        log_in(device());
        fill_slot(device(), 8130, "bytes");
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }
    void set(const std::string& text) {
        vemra::softtoken::write_faults(directory("one"), parse_faults(text));
    }

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_fault, running_process_notices_and_stays_logged_in) {
    set("WriteData return=-555");
    EXPECT_EQ(write_slot(device(), 8130, "other"), -555);
    EXPECT_EQ(VemraPKIGetLastError(), -555);
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

TEST_F(softtoken_fault, transient_fault_is_gone_for_every_process) {
    set("ReadData return=-555; GetType return=-555 lasting");
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -555");
    auto left = vemra::softtoken::read_faults(directory("one"));
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].text, "GetType return=-555 lasting");
    EXPECT_EQ(VemraPKICryptoGetType(device()), -1);
    EXPECT_EQ(VemraPKIGetLastError(), -555);
}

TEST_F(softtoken_fault, one_transient_fault_does_not_restart_the_count_of_another) {
    set("GetDataLength call=2 return=-1; GetDataLength call=3 return=-2");
    int length = 0;
    EXPECT_EQ(slot_length(device(), 8130, length), 1);
    EXPECT_EQ(slot_length(device(), 8130, length), -1);
    EXPECT_EQ(slot_length(device(), 8130, length), -2);
    EXPECT_EQ(slot_length(device(), 8130, length), 1);
}

TEST_F(softtoken_fault, null_takes_the_place_of_a_handle) {
    set("NewHash null");
    EXPECT_EQ(VemraPKICryptoNewHash(device(), 0x7000), nullptr);
    auto* hash = VemraPKICryptoNewHash(device(), 0x7000);
    EXPECT_NE(hash, nullptr);
    VemraPKICryptoFreeHash(hash);
}

TEST_F(softtoken_fault, null_in_place_of_a_text_is_success_without_one) {
    set("GetSerialNumber null");
    char* text = nullptr;
    EXPECT_EQ(VemraPKICryptoGetSerialNumber(device(), &text), 1);
    EXPECT_EQ(text, nullptr);
}

TEST_F(softtoken_fault, death_before_the_commit_loses_the_write_and_after_it_does_not) {
    set("WriteData die=before");
    EXPECT_FALSE(
        in_child([&] { return log_in(device()) == 1 && write_slot(device(), 8130, "lost!"); }));
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    set("WriteData die=after");
    EXPECT_FALSE(
        in_child([&] { return log_in(device()) == 1 && write_slot(device(), 8130, "kept!"); }));
    EXPECT_EQ(slot_bytes(device(), 8130), "kept!");
}

TEST_F(softtoken_fault, environment_sets_faults_for_one_process) {
    program_result result = run("VEMRA_SOFTTOKEN_FAULTS='ReadData return=-9' " SOFTTOKEN_TOOL
                                " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(run(SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT).status, 0);
}

TEST_F(softtoken_fault, wrong_text_in_the_environment_is_reported) {
    program_result result =
        run("VEMRA_SOFTTOKEN_FAULTS='Fly null' " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("no such function"), std::string::npos);
}

TEST_F(softtoken_fault, trace_has_sizes_and_no_secrets) {
    std::string trace = root() + "/trace";
    run("VEMRA_SOFTTOKEN_TRACE=" + trace + " " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    std::string text = file_bytes(trace);
    EXPECT_NE(text.find("VemraPKICryptoReadData slot=8130 size=64 result=1 microseconds="),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("VemraPKICryptoFreeDevice slot=- size=- result=1 "), std::string::npos);
    EXPECT_EQ(text.find("bytes"), std::string::npos);
}

TEST_F(softtoken_fault, admin_tool_adds_lists_and_clears) {
    EXPECT_EQ(run_tool("fault add one 'ReadData call=2 return=-5'").status, 0);
    EXPECT_EQ(run_tool("fault add one --recipe full").status, 0);
    EXPECT_EQ(run_tool("fault list one").output,
              "ReadData call=2 return=-5\nCreateData return=-111 lasting\n");
    EXPECT_EQ(run_tool("fault clear one").status, 0);
    EXPECT_EQ(run_tool("fault list one").output, "");
    EXPECT_EQ(run_tool("fault add one 'Fly null'").status, 1);
    EXPECT_EQ(run_tool("fault add one --recipe nothing").status, 2);
}
