// What somebody puts in the place of a token's files is neither followed nor waited for.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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
    std::string password_file() const {
        write_file(aim(), password);
        return aim();
    }
    static void make_socket(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_EQ(bind(made, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        close(made);
    }
    static constexpr int ended_by_timeout = 124;
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

TEST_F(softtoken_plain_file, nothing_odd_among_the_tokens_makes_anybody_wait) {
    const std::string odd = root() + "/0";
    ASSERT_EQ(mkfifo((odd + "pipe").c_str(), 0600), 0);
    make_socket(odd + "socket");
    for (const auto& [target, name] :
         {std::pair{"/dev/zero", "device"}, std::pair{"0loop", "loop"}, std::pair{"0pipe", "link"},
          std::pair{"/no/such", "nowhere"}, std::pair{".", "itself"}})
        ASSERT_EQ(symlink(target, (odd + name).c_str()), 0);
    std::filesystem::create_directory(odd + "piped");
    ASSERT_EQ(mkfifo((odd + "piped/token.db").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo((odd + "piped/attached").c_str(), 0600), 0);
    std::filesystem::create_directory(odd + "socketed");
    make_socket(odd + "socketed/token.db");
    write_file(odd + "socketed/attached", "");
    std::filesystem::create_directory(odd + "looped");
    ASSERT_EQ(symlink("token.db", (odd + "looped/token.db").c_str()), 0);
    std::filesystem::create_directory(odd + "closed");
    std::filesystem::permissions(odd + "closed", std::filesystem::perms::none);
    EXPECT_TRUE(in_child([] {
        alarm(10);
        return attached_count() == 1;
    }));
    program_result listed = run_in_time("list | cut -d' ' -f1 2>&1");
    EXPECT_NE(listed.output.find("TOKEN\none\n"), std::string::npos) << listed.output;
    for (const char* command :
         {"fsck", "info 0piped", "info 0pipe", "fsck 0looped", "slots 0socketed", "attach 0piped",
          "fault list 0piped", "unlock 0piped"})
        EXPECT_NE(run_in_time(command).status, ended_by_timeout) << command;
    EXPECT_EQ(
        run_in_time("create two --password-cost 1 --password-fd 0 <" + password_file()).status, 0);
    std::filesystem::permissions(odd + "closed", std::filesystem::perms::owner_all);
}

TEST_F(softtoken_plain_file, snapshot_is_not_waited_for_in_a_pipe) {
    ASSERT_EQ(mkfifo(aim().c_str(), 0600), 0);
    program_result result = run_in_time("restore one " + aim());
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "vemra-softtoken: " + aim() +
                                 " is no plain file: name a file that \"snapshot\" made\n");
}

TEST_F(softtoken_plain_file, bytes_and_certificates_may_come_through_a_pipe) {
    ASSERT_EQ(run("printf bytes | " SOFTTOKEN_TOOL " load one 8130 /dev/stdin").status, 0);
    EXPECT_EQ(run(SOFTTOKEN_TOOL " dump one 8130 /dev/stdout | cat").output, "bytes");
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
