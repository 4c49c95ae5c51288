// The admin tool as a program through which passwords and keys pass.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_hardening : public token_test {
protected:
    softtoken_hardening() { make_token("one"); }

    std::string file(const std::string& name) const { return root() + "/." + name; }
};

// The files of a process that may leave no core file and not be traced belong to root.
TEST_F(softtoken_hardening, process_that_reads_a_password_cannot_be_looked_into) {
    const std::string as_user =
        geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    ASSERT_EQ(mkfifo(file("password").c_str(), 0600), 0);
    ASSERT_EQ(chmod(file("password").c_str(), 0666), 0);
    ASSERT_EQ(chmod(root().c_str(), 0777), 0);
    // Opening the pipe waits until the tool reads there.
    program_result result =
        run(as_user + SOFTTOKEN_TOOL " create two --password-file " + file("password") + " >" +
            file("output") + " 2>&1 & exec 9>" + file("password") +
            "; stat -c %u /proc/$!/environ; exec 9>&-; wait");
    EXPECT_EQ(result.output, "0\n") << file_bytes(file("output"));
}

TEST_F(softtoken_hardening, output_that_nobody_reads_is_told_and_not_taken_for_written) {
    program_result result = run("( sleep 0.3; " SOFTTOKEN_TOOL " list; echo $? >" + file("status") +
                                " ) 2>" + file("told") + " | :; cat " + file("told"));
    EXPECT_EQ(result.output, "vemra-softtoken: standard output cannot be written: Broken pipe\n");
    EXPECT_EQ(file_bytes(file("status")), "1\n");
}

TEST_F(softtoken_hardening, output_that_the_disk_does_not_take_is_told) {
    for (const char* command : {"list", "info one", "slots one", "certs one", "fsck", "knobs",
                                "fault recipes", "--help"}) {
        program_result result = run(SOFTTOKEN_TOOL " " + std::string(command) + " 2>&1 >/dev/full");
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.output,
                  "vemra-softtoken: standard output cannot be written: No space left on device\n")
            << command;
    }
}

TEST_F(softtoken_hardening, change_that_nobody_can_be_told_of_is_told_on_standard_error) {
    write_file(file("password"), password);
    for (const auto& [command, done] :
         {std::pair<std::string, std::string>{"unlock one", "one: attempts left: 10"},
          {"create two --serial S --password-cost 1 --password-fd 0 <" + file("password"),
           "two: serial number S, type 1, attached"},
          {"generate-cert one --cn N", "one: CN=N"},
          {"remove-cert one 1", "one: CN=N removed, its key pair stays"}}) {
        program_result result = run(SOFTTOKEN_TOOL " " + command + " 2>&1 >/dev/full");
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.output,
                  "vemra-softtoken: standard output cannot be written: No space left on device\n"
                  "Done all the same: " +
                      done + "\n");
    }
}

TEST_F(softtoken_hardening, change_whose_output_is_closed_is_told_on_standard_error) {
    program_result result = run(SOFTTOKEN_TOOL " unlock one 2>&1 >&-");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "vemra-softtoken: standard output cannot be written: Bad file descriptor\n"
              "Done all the same: one: attempts left: 10\n");
}

TEST_F(softtoken_hardening, findings_that_nobody_can_read_are_told_to_be_lost) {
    write_file(directory("one") + "/token.db", "short");
    program_result result = run(SOFTTOKEN_TOOL " fsck 2>&1 >/dev/full");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "vemra-softtoken: standard output cannot be written: No space left on device\n"
              "vemra-softtoken: not all is sound: see the lines above\n");
}

// The limit is in blocks of 512 bytes: the index of a database fits, what is written here does not.
TEST_F(softtoken_hardening, file_that_grows_beyond_a_limit_is_told_and_leaves_nothing_half_done) {
    write_file(file("bytes"), std::string(60000, 'x'));
    write_file(file("password"), password);
    ASSERT_EQ(run_tool("load one 8130 " + file("bytes")).status, 0);
    ASSERT_EQ(run_tool("snapshot one " + file("snapshot")).status, 0);
    const std::string before = run("ls -A " + root()).output;
    for (const std::string& command :
         {"snapshot one " + file("new"), "dump one 8130 " + file("new"),
          "load one 8131 " + file("bytes"), "restore one " + file("snapshot"),
          "create two --password-cost 1 --password-fd 0 <" + file("password")}) {
        program_result result = run("ulimit -f 80; " SOFTTOKEN_TOOL " " + command);
        EXPECT_EQ(result.status, 1) << command << ": " << result.output;
        EXPECT_EQ(result.output.rfind("vemra-softtoken: ", 0), 0U) << result.output;
        EXPECT_EQ(run("ls -A " + root()).output, before) << command;
    }
    EXPECT_EQ(run_tool("fsck").output, "one: sound\n");
    EXPECT_EQ(run("test $(" SOFTTOKEN_TOOL " slots one | wc -l) -eq 2").status, 0);
}

TEST_F(softtoken_hardening, closed_standard_descriptors_become_no_file_of_a_tokens) {
    write_file(file("bytes"), "loaded");
    EXPECT_EQ(run(SOFTTOKEN_TOOL " load one 8130 " + file("bytes") + " <&- >&- 2>&-").status, 0);
    EXPECT_EQ(run(SOFTTOKEN_TOOL " slots one <&- >&- 2>&-").status, 1);
    EXPECT_EQ(run(SOFTTOKEN_TOOL " dump one 8131 " + file("none") + " <&- >&- 2>&-").status, 1);
    ASSERT_EQ(run(SOFTTOKEN_TOOL " dump one 8130 " + file("dumped") + " <&- >&- 2>&-").status, 0);
    EXPECT_EQ(file_bytes(file("dumped")), "loaded");
    EXPECT_EQ(run_tool("fsck").output, "one: sound\n");
}

TEST_F(softtoken_hardening, program_that_exec_runs_has_the_signals_and_descriptors_of_before) {
    // SIGPIPE and SIGXFSZ.
    const std::string look =
        "ignored=$(sed -n \"s/^SigIgn:.*\\(........\\)$/\\1/p\" /proc/self/status); "
        "echo $((0x$ignored & 0x1001000)); ls /proc/self/fd";
    ASSERT_EQ(run("trap '' PIPE; sh -c '" + look + "'").output.substr(0, 5), "4096\n");
    for (const char* before : {"", "trap '' PIPE; ", "trap '' XFSZ; ", "exec <&-; "}) {
        const std::string plain = run(std::string(before) + "sh -c '" + look + "'").output;
        EXPECT_EQ(run(std::string(before) + SOFTTOKEN_TOOL " exec -- sh -c '" + look + "'").output,
                  plain)
            << before;
    }
}
