#include <chrono>
#include <thread>
#include <vector>

#include "one_token_test.h"
#include "store/fault_file.h"
#include "store/plug.h"

using namespace softtoken_test;
using vemra::softtoken::parse_faults;
using vemra::softtoken::read_faults;

class softtoken_fault : public one_token_test {
protected:
    void set(const std::string& text) {
        vemra::softtoken::settings_lock lock(directory("one"));
        vemra::softtoken::write_faults(directory("one"), parse_faults(text));
    }
    // How many of the calls fail with -555.
    int failures_of_length(int calls) {
        int failures = 0;
        for (int i = 0, length = 0; i < calls; ++i)
            failures += slot_length(device(), 8130, length) == -555 ? 1 : 0;
        return failures;
    }
    // How many of the processes that read a slot at the same time meet a failure.
    int failures_at_once(const std::vector<int>& slots) {
        int children = static_cast<int>(slots.size());
        return children - at_once(children, [&](int number) {
                   return slot_bytes(device(), slots[static_cast<std::size_t>(number)]) == "bytes";
               });
    }
    // What slot_bytes() tells of a slot that is not there.
    const std::string absent = "failed: " + std::to_string(no_such_slot);
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
    auto left = read_faults(directory("one"));
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

TEST_F(softtoken_fault, chance_fires_at_its_rate_and_a_transient_one_once) {
    set("GetDataLength chance=0.25 seed=7 return=-555 lasting");
    EXPECT_EQ(failures_of_length(400), 100);
    set("GetDataLength chance=0.25 seed=7 return=-555");
    EXPECT_EQ(failures_of_length(400), 1);
    EXPECT_TRUE(read_faults(directory("one")).empty());
}

TEST_F(softtoken_fault, token_is_pulled_out_by_a_fault_of_its_own) {
    set("WriteData slot=8130 unplug");
    EXPECT_EQ(write_slot(device(), 8130, "other"), removed);
    EXPECT_EQ(attached_count(), 0);
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: " + std::to_string(removed));
    attach("one");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_EQ(write_slot(device(), 8130, "other"), not_logged_in);
    EXPECT_EQ(log_in(device()), 1);
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
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

TEST_F(softtoken_fault, death_before_the_commit_loses_the_whole_change_and_after_it_nothing) {
    struct {
        const char* function;
        int slot;
        std::function<int(VEMRA_PKI_DEVICE_HANDLE_st*)> change;
        std::string before;
        std::string after;
    } const changes[] = {
        {"CreateData", 8131, [](auto* on) { return create_slot(on, 8131, 3); }, absent, {0, 0, 0}},
        {"WriteData", 8130, [](auto* on) { return write_slot(on, 8130, "other"); }, "bytes",
         "other"},
        {"DeleteData", 8130, [](auto* on) { return VemraPKICryptoDeleteData(on, 8130); }, "other",
         absent},
    };
    for (const auto& each : changes) {
        auto end_in_it = [&] { return log_in(device()) == 1 && each.change(device()) == 1; };
        set(std::string(each.function) + " die=before");
        EXPECT_FALSE(in_child(end_in_it)) << each.function;
        EXPECT_EQ(slot_bytes(device(), each.slot), each.before) << each.function;
        set(std::string(each.function) + " die=after");
        EXPECT_FALSE(in_child(end_in_it)) << each.function;
        EXPECT_EQ(slot_bytes(device(), each.slot), each.after) << each.function;
    }
}

TEST_F(softtoken_fault, process_ends_even_when_the_call_fails) {
    for (const char* text : {"WriteData die=before", "WriteData die=after", "WriteData torn=1"}) {
        set(text);
        EXPECT_FALSE(in_child([&] { return write_slot(device(), 8130, "other") != 1; })) << text;
    }
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_fault, torn_write_brings_no_more_than_its_bytes) {
    set("WriteData torn=2");
    EXPECT_FALSE(
        in_child([&] { return log_in(device()) == 1 && write_slot(device(), 8130, "other"); }));
    EXPECT_EQ(slot_bytes(device(), 8130), "ottes");
    set("WriteData torn=99");
    EXPECT_FALSE(
        in_child([&] { return log_in(device()) == 1 && write_slot(device(), 8130, "other"); }));
    EXPECT_EQ(slot_bytes(device(), 8130), "other");
}

TEST_F(softtoken_fault, slow_and_full_at_once_is_both) {
    set("CreateData delay=60 lasting; CreateData return=-111 lasting");
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(create_slot(device(), 8131, 4), -111);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
}

// The delay lets all of them find the fault before any has taken it away.
TEST_F(softtoken_fault, transient_fault_fires_in_one_of_many_processes) {
    for (int round = 0; round < 3; ++round) {
        set("ReadData delay=200 lasting; ReadData return=-555");
        ASSERT_EQ(failures_at_once({8130, 8130, 8130, 8130}), 1);
    }
}

TEST_F(softtoken_fault, faults_that_fire_at_the_same_time_are_all_taken_away) {
    for (int slot : {8131, 8132, 8133})
        ASSERT_EQ(fill_slot(device(), slot, "bytes"), 1);
    for (int round = 0; round < 20; ++round) {
        set("ReadData slot=8130 return=-1; ReadData slot=8131 return=-1;"
            "ReadData slot=8132 return=-1; ReadData slot=8133 return=-1");
        ASSERT_EQ(failures_at_once({8130, 8131, 8132, 8133}), 4);
        ASSERT_TRUE(read_faults(directory("one")).empty());
    }
}

TEST_F(softtoken_fault, change_by_others_is_noticed_while_faults_fire) {
    set("GetType delay=300 lasting; GetType return=5");
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        set("GetType return=5; ReadData return=-1 lasting");
    });
    EXPECT_EQ(VemraPKICryptoGetType(device()), 5);
    other.join();
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -1");
}

TEST_F(softtoken_fault, damaged_fault_file_is_named_with_what_to_do) {
    write_file(directory("one") + "/faults", "Fly null\n");
    vemra::softtoken::note_changed_settings(directory("one"));
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -123");
    program_result result = run_tool("fault list one");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output.find("vemra-softtoken: " + directory("one") + "/faults: fault \"Fly"),
              0U)
        << result.output;
    EXPECT_NE(result.output.find("\"fault clear\""), std::string::npos);
    EXPECT_EQ(run_tool("fault clear one").status, 0);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_fault, environment_pulls_out_at_the_first_call_with_a_token) {
    program_result result =
        run("VEMRA_SOFTTOKEN_FAULTS='* unplug' " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(attached_count(), 0);
}

TEST_F(softtoken_fault, environment_ends_the_process) {
    program_result result = run("VEMRA_SOFTTOKEN_FAULTS='ReadData die=before' " SOFTTOKEN_TOOL
                                " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 128 + 9);
}

TEST_F(softtoken_fault, environment_gives_null_for_a_list_and_a_handle) {
    for (const char* text : {"GetAllDevices null", "GetDevice null", "NewHash null"}) {
        program_result result = run(std::string("VEMRA_SOFTTOKEN_FAULTS='") + text +
                                    "' " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
        EXPECT_EQ(result.status, 1) << text;
    }
}

TEST_F(softtoken_fault, environment_sets_faults_for_one_process) {
    program_result result = run("VEMRA_SOFTTOKEN_FAULTS='ReadData return=-9' " SOFTTOKEN_TOOL
                                " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(run(SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT).status, 0);
}

TEST_F(softtoken_fault, environment_sets_a_fault_for_one_slot) {
    // The program reads slot 8130 only.
    for (const auto& [slot, status] : {std::pair("8130", 1), std::pair("8131", 0)}) {
        program_result result =
            run(std::string("VEMRA_SOFTTOKEN_FAULTS='ReadData slot=") + slot +
                " return=-9 lasting' " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
        EXPECT_EQ(result.status, status) << slot;
    }
}

TEST_F(softtoken_fault, wrong_text_in_the_environment_is_reported) {
    program_result result =
        run("VEMRA_SOFTTOKEN_FAULTS='Fly null' " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("no such function"), std::string::npos);
}

TEST_F(softtoken_fault, report_has_no_byte_that_a_terminal_obeys) {
    program_result result = run("VEMRA_SOFTTOKEN_FAULTS='\x1b[2J null' " FREES_AT_EXIT);
    EXPECT_NE(result.output.find("VEMRA_SOFTTOKEN_FAULTS: "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("?[2J"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

TEST_F(softtoken_fault, admin_tool_adds_lists_and_clears) {
    EXPECT_EQ(run_tool("fault add one 'ReadData call=2 return=-5'").status, 0);
    EXPECT_EQ(run_tool("fault add one --recipe full").status, 0);
    EXPECT_EQ(run_tool("fault list one").output,
              "ReadData call=2 return=-5\nCreateData return=-111 lasting\n");
    EXPECT_EQ(run_tool("fault clear one").status, 0);
    EXPECT_EQ(run_tool("fault list one").output, "");
}

TEST_F(softtoken_fault, admin_tool_adds_none_that_it_does_not_know) {
    EXPECT_EQ(run_tool("fault add one 'Fly null'").status, 2);
    EXPECT_EQ(run_tool("fault add one --recipe nothing").status, 2);
    EXPECT_EQ(run_tool("fault add one").status, 2);
    EXPECT_EQ(run_tool("fault add one 'HashUpdate null'").status, 2);
    EXPECT_EQ(run_tool("fault list one").output, "");
}
