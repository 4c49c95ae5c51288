#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "one_token_test.h"

using namespace softtoken_test;

class softtoken_fork : public one_token_test {};

TEST_F(softtoken_fork, child_reads_through_the_parents_handle) {
    EXPECT_TRUE(in_child([&] { return slot_bytes(device(), 8130) == "bytes"; }));
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_fork, child_is_logged_out_and_the_parent_is_not) {
    EXPECT_TRUE(in_child([&] { return write_slot(device(), 8130, "child") == not_logged_in; }));
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

TEST_F(softtoken_fork, child_writes_after_logging_in) {
    EXPECT_TRUE(in_child(
        [&] { return log_in(device()) == 1 && write_slot(device(), 8130, "child") == 1; }));
    EXPECT_EQ(slot_bytes(device(), 8130), "child");
}

TEST_F(softtoken_fork, parent_and_child_write_in_turns) {
    for (int round = 0; round < 5; ++round) {
        std::string number = std::to_string(round);
        ASSERT_TRUE(in_child([&] {
            return log_in(device()) == 1 && write_slot(device(), 8130, "chil" + number) == 1;
        }));
        ASSERT_EQ(slot_bytes(device(), 8130), "chil" + number);
        ASSERT_EQ(write_slot(device(), 8130, "pare" + number), 1);
    }
}

TEST_F(softtoken_fork, child_that_only_frees_does_not_disturb_the_parent) {
    EXPECT_TRUE(
        in_child([&] { return VemraPKICryptoFreeDevice(VemraPKICryptoDupDevice(device())) == 1; }));
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

// What the parent ends with, its orderly exit included, takes nothing from the child.
TEST_F(softtoken_fork, child_writes_after_its_parent_has_ended) {
    std::array<int, 2> ended{};
    std::array<int, 2> told{};
    ASSERT_EQ(pipe(ended.data()), 0);
    ASSERT_EQ(pipe(told.data()), 0);
    pid_t parent = fork();
    if (parent == 0) {
        if (log_in(device()) != 1) _exit(1);
        if (fork() != 0) std::exit(write_slot(device(), 8130, "older") == 1 ? 0 : 1);
        char byte = 0;
        close(ended[1]);
        bool parent_is_gone = read(ended[0], &byte, 1) == 0;
        bool good = parent_is_gone && slot_bytes(device(), 8130) == "older" &&
                    log_in(device()) == 1 && write_slot(device(), 8130, "child") == 1;
        _exit(write(told[1], good ? "1" : "0", 1) == 1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(parent, &status, 0), parent);
    EXPECT_EQ(status, 0);
    close(ended[1]);
    close(told[1]);
    char good = '0';
    EXPECT_EQ(read(told[0], &good, 1), 1);
    EXPECT_EQ(good, '1');
    close(ended[0]);
    close(told[0]);
    EXPECT_EQ(slot_bytes(device(), 8130), "child");
    EXPECT_EQ(write_slot(device(), 8130, "again"), 1);
}

// Forking closes the databases.
TEST_F(softtoken_fork, faults_of_a_token_count_on_in_parent_and_child) {
    ASSERT_EQ(run_tool("fault add one 'GetType call=4 return=5 lasting'").status, 0);
    EXPECT_EQ(VemraPKICryptoGetType(device()), 1);
    EXPECT_TRUE(in_child([&] { return VemraPKICryptoGetType(device()) == 1; }));
    EXPECT_EQ(VemraPKICryptoGetType(device()), 1);
    EXPECT_EQ(attached_count(), 1);
    EXPECT_TRUE(in_child([&] {
        return attached_count() == 1 && VemraPKICryptoGetType(device()) == 1 &&
               VemraPKICryptoGetType(device()) == 5;
    }));
    EXPECT_EQ(VemraPKICryptoGetType(device()), 1);
    EXPECT_EQ(VemraPKICryptoGetType(device()), 5);
}

TEST_F(softtoken_fork, faults_that_were_set_meanwhile_count_from_then_on) {
    ASSERT_EQ(run_tool("fault add one 'GetType call=2 return=5 lasting'").status, 0);
    EXPECT_EQ(VemraPKICryptoGetType(device()), 1);
    ASSERT_EQ(run_tool("fault add one 'ReadData return=5'").status, 0);
    EXPECT_TRUE(in_child([] { return true; }));
    EXPECT_EQ(VemraPKICryptoGetType(device()), 1);
    EXPECT_EQ(VemraPKICryptoGetType(device()), 5);
}

// Forking waits for the running calls of other threads, so that the child finds no lock held.
TEST_F(softtoken_fork, child_of_a_process_with_busy_threads_works) {
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop)
            write_slot(device(), 8130, "other");
    });
    bool all_worked = true;
    for (int round = 0; round < 10; ++round) {
        all_worked &= in_child([&] { return slot_bytes(device(), 8130).size() == 5; });
    }
    stop = true;
    busy.join();
    EXPECT_TRUE(all_worked);
}

// Counting for many faults takes long, so that a fork meets a thread that is at it.
TEST(softtoken_fork_with_faults, child_finds_the_faults_of_the_environment_free) {
    std::string faults;
    for (int i = 0; i < 3000; ++i)
        faults += "HashUpdate call=1000000 null;";
    setenv("VEMRA_SOFTTOKEN_FAULTS", faults.c_str(), 1);
    device_owner pseudo(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice);
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop)
            VemraPKICryptoGetType(pseudo.get());
    });
    bool all_worked = true;
    for (int round = 0; round < 20; ++round) {
        all_worked &= in_child([&] {
            alarm(20);
            return VemraPKICryptoGetType(pseudo.get()) == 0;
        });
    }
    stop = true;
    busy.join();
    EXPECT_TRUE(all_worked);
}

TEST(softtoken_fork_with_faults, child_counts_on_from_its_parent) {
    setenv("VEMRA_SOFTTOKEN_FAULTS", "GetType call=2 return=5", 1);
    device_owner pseudo(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice);
    EXPECT_EQ(VemraPKICryptoGetType(pseudo.get()), 0);
    EXPECT_TRUE(in_child([&] { return VemraPKICryptoGetType(pseudo.get()) == 5; }));
    EXPECT_EQ(VemraPKICryptoGetType(pseudo.get()), 5);
    EXPECT_TRUE(in_child([&] { return VemraPKICryptoGetType(pseudo.get()) == 0; }));
}
