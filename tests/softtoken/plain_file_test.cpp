// What somebody puts in the place of a token's files is neither followed nor waited for.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_plain_file : public token_test {
protected:
    softtoken_plain_file() { make_token("one"); }

    std::string file(const std::string& name) const { return directory("one") + "/" + name; }
    std::string aim() const { return root() + "/.aim"; }
    void link(const std::string& name) const {
        std::filesystem::remove(file(name));
        ASSERT_EQ(symlink(aim().c_str(), file(name).c_str()), 0);
    }
    // Skipped, with the file named, by a process that does not hang.
    bool is_skipped_for(const std::string& name) const {
        return in_child([&] {
            alarm(10);
            testing::internal::CaptureStderr();
            return attached_count() == 0 && testing::internal::GetCapturedStderr() ==
                                                "vemra-softtoken: token skipped: " + file(name) +
                                                    ": not a plain file, so it is not opened\n";
        });
    }
    // With "timeout", so that a program that hangs fails.
    static program_result run_in_time(const std::string& arguments) {
        return run("timeout 10 " SOFTTOKEN_TOOL " " + arguments);
    }
};

TEST_F(softtoken_plain_file, pipe_in_the_place_of_any_file_makes_nobody_wait) {
    for (const char* name : {"faults", "token.db", "token.db-wal", "token.db-shm"}) {
        std::string kept = root() + "/.kept";
        bool was_there = std::filesystem::exists(file(name));
        if (was_there) std::filesystem::rename(file(name), kept);
        ASSERT_EQ(mkfifo(file(name).c_str(), 0600), 0);
        EXPECT_TRUE(is_skipped_for(name)) << name;
        program_result result = run_in_time("fsck one");
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_NE(result.output.find(file(name) + " is not a plain file: move it away"),
                  std::string::npos)
            << result.output;
        std::filesystem::remove(file(name));
        if (was_there) std::filesystem::rename(kept, file(name));
    }
    EXPECT_EQ(run_in_time("fsck one").output, "one: sound\n");
}

TEST_F(softtoken_plain_file, faults_behind_a_link_are_not_read) {
    write_file(aim(), "GetType return=5 lasting\n");
    link("faults");
    EXPECT_TRUE(is_skipped_for("faults"));
    EXPECT_EQ(run_in_time("fault clear one").status, 0);
    EXPECT_EQ(file_bytes(aim()), "GetType return=5 lasting\n");
    EXPECT_EQ(attached_count(), 1);
}

TEST_F(softtoken_plain_file, database_behind_a_link_is_not_opened) {
    std::filesystem::rename(file("token.db"), aim());
    ASSERT_EQ(symlink(aim().c_str(), file("token.db").c_str()), 0);
    EXPECT_TRUE(is_skipped_for("token.db"));
    detach("one");
    EXPECT_TRUE(is_skipped_for("token.db"));
    EXPECT_EQ(run_in_time("info one").status, 1);
}

TEST_F(softtoken_plain_file, log_behind_a_link_is_not_taken_in) {
    write_file(aim(), "somebody's");
    link("token.db-wal");
    EXPECT_TRUE(is_skipped_for("token.db-wal"));
    EXPECT_EQ(file_bytes(aim()), "somebody's");
}

TEST_F(softtoken_plain_file, link_says_nothing_of_being_plugged_in) {
    write_file(aim(), "");
    ASSERT_EQ(run("touch -d @1000000000 " + aim()).status, 0);
    link("attached");
    EXPECT_EQ(attached_count(), 0);
    ASSERT_EQ(run_in_time("profile one --slots 9").status, 0);
    EXPECT_EQ(run("stat -c %X " + aim()).output, "1000000000\n");
    ASSERT_EQ(run_in_time("attach one").status, 0);
    EXPECT_EQ(attached_count(), 1);
    EXPECT_FALSE(std::filesystem::is_symlink(file("attached")));
}

TEST_F(softtoken_plain_file, fsck_does_not_look_at_what_a_link_leads_to) {
    write_file(aim(), "");
    ASSERT_EQ(chmod(aim().c_str(), 0644), 0);
    link("password.lock");
    program_result result = run_in_time("fsck one");
    EXPECT_EQ(result.output, "one: " + file("password.lock") +
                                 " is not a plain file: move it away\n"
                                 "vemra-softtoken: not all is sound: see the lines above\n");
}
