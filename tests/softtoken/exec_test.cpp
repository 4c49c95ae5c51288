#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "token_fixture.h"

using namespace softtoken_test;

namespace {

/* Before a shell's command: root too then passes by no permission. */
const std::string without_rights_over_files =
    geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search " : "";

}  // namespace

class softtoken_exec : public token_test {
protected:
    softtoken_exec() {
        make_token("one");
        device_owner device = device_at();
        log_in(device.get());
        fill_slot(device.get(), 8130, "bytes");
    }

    /* A script in the tokens' directory, where its name hides it. */
    std::string script(const std::string& name, const std::string& first_line) const {
        std::string path = root() + "/." + name;
        write_file(path, first_line + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    std::string copy_of(const std::string& program, const std::string& name) const {
        std::string path = root() + "/." + name;
        std::filesystem::copy_file(program, path);
        return path;
    }
    /* The admin tool with its library in a directory of that name; the tool's path, quoted. */
    std::string installed_in(const std::string& name) const {
        std::filesystem::path tool = file_of(SOFTTOKEN_TOOL);
        std::filesystem::path library = file_of(SOFTTOKEN_LIBRARY);
        std::filesystem::path place = root() + "/." + name + "/bin";
        std::filesystem::path to_library = library.lexically_relative(tool.parent_path());
        std::filesystem::create_directories((place / to_library).parent_path());
        std::filesystem::copy_file(tool, place / tool.filename());
        std::filesystem::copy_file(library, place / to_library);
        return "'" + (place / tool.filename()).string() + "'";
    }
};

TEST_F(softtoken_exec, runs_a_program_on_the_software_token) {
    program_result result = run_tool("exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "bytes\nfreed\n");
}

TEST_F(softtoken_exec, passes_arguments_and_the_exit_status_on) {
    program_result result = run_tool("exec -- sh -c 'echo \"$1\"; exit 7' sh --word");
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.output, "--word\n");
}

TEST_F(softtoken_exec, program_has_its_signals) {
    program_result result = run_tool("exec -- sh -c 'kill -TERM $$; sleep 20'");
    EXPECT_EQ(result.status, 143);
    result = run_tool("exec -- grep ^SigBlk: /proc/self/status");
    EXPECT_EQ(result.output, "SigBlk:\t0000000000000000\n");
}

TEST_F(softtoken_exec, refuses_a_program_whose_rpath_leads_elsewhere) {
    program_result result = run_tool("exec -- " USES_OTHER_LIBRARY);
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find("would load the device library"), std::string::npos);
    EXPECT_NE(result.output.find("other/libvemra_crypto.so.1"), std::string::npos);
}

TEST_F(softtoken_exec, refuses_a_preloaded_library_under_any_name) {
    std::string copy = root() + "/innocent.so";
    std::filesystem::copy_file(file_of(OTHER_LIBRARY), copy);
    // AddressSanitizer, where it is built in, wants to be preloaded first.
    program_result result = run("ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" + copy +
                                " " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find(copy), std::string::npos) << result.output;
}

TEST_F(softtoken_exec, overrides_the_callers_library_path) {
    std::string other = std::filesystem::path(file_of(OTHER_LIBRARY)).parent_path();
    program_result result =
        run("LD_LIBRARY_PATH='" + other + "' " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "bytes\nfreed\n");
}

TEST_F(softtoken_exec, works_from_a_path_with_blanks_and_arrows) {
    for (const char* name : {"with blank", "with => arrow", "with (0x1) address"}) {
        program_result result = run(installed_in(name) + " exec -- " FREES_AT_EXIT);
        EXPECT_EQ(result.status, 0) << name;
        EXPECT_EQ(result.output, "bytes\nfreed\n");
    }
}

TEST_F(softtoken_exec, names_what_a_library_path_cannot_hold) {
    for (const auto& [name, sign] : {std::pair{"a:b", "a colon"}, std::pair{"a;b", "a semicolon"},
                                     std::pair{"a$LIB", "$LIB"}}) {
        program_result result = run(installed_in(name) + " exec -- true");
        EXPECT_EQ(result.status, 126) << name;
        EXPECT_NE(result.output.find("has " + std::string(sign) + ", which LD_LIBRARY_PATH"),
                  std::string::npos)
            << result.output;
        EXPECT_NE(result.output.find(std::string("/.") + name + "/"), std::string::npos);
    }
}

TEST_F(softtoken_exec, judges_a_script_by_its_last_interpreter) {
    std::string direct = script("direct", "#!" + copy_of(file_of(USES_OTHER_LIBRARY), "program"));
    std::string nested = script("nested", "#! \t" + direct + " word");
    for (const std::string& each : {direct, nested, script("deep", "#!" + nested)}) {
        program_result result = run_tool("exec -- " + each);
        EXPECT_EQ(result.status, 125) << each;
        EXPECT_NE(result.output.find("other/libvemra_crypto.so.1"), std::string::npos)
            << result.output;
    }
}

TEST_F(softtoken_exec, runs_a_script_whose_interpreter_is_a_script) {
    std::string inner = script("inner", "#!/bin/sh\necho inner ran \"$1\"");
    std::string outer = script("outer", "#!" + inner);
    EXPECT_EQ(run_tool("exec -- " + outer).output, "inner ran " + outer + "\n");
}

TEST_F(softtoken_exec, refuses_a_script_whose_interpreter_has_another_users_rights) {
    std::string interpreter = copy_of(file_of(FREES_AT_EXIT), "interpreter");
    std::filesystem::permissions(interpreter, std::filesystem::perms::set_uid,
                                 std::filesystem::perm_options::add);
    program_result result = run_tool("exec -- " + script("script", "#!" + interpreter));
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find(interpreter + " runs with another user's rights"),
              std::string::npos)
        << result.output;
}

// The kernel gives a script nobody's rights but its user's.
TEST_F(softtoken_exec, runs_a_script_with_the_mark_of_other_rights) {
    std::string marked = script("marked", "#!/bin/sh\necho ran");
    std::filesystem::permissions(marked, std::filesystem::perms::set_uid,
                                 std::filesystem::perm_options::add);
    EXPECT_EQ(run_tool("exec -- " + marked).output, "ran\n");
}

TEST_F(softtoken_exec, ends_as_the_shell_does_with_what_it_cannot_run) {
    std::filesystem::create_directories(root() + "/.bin/folder");
    write_file(root() + "/.bin/plain", "echo plain\n");
    script("bin/binary", std::string("\177ELF\0", 5));
    script("bin/lost", "#!/no/such/interpreter");
    script("bin/listed", "#!/etc/passwd");
    std::string path = "cd " + root() + "/.bin; PATH=" + root() + "/.bin:$PATH; export PATH; ";
    for (const char* command : {"./binary", "./lost", "lost", "./listed", "./missing", "missing",
                                "./plain", "plain", "./folder", "folder", "./plain/beyond", "''"}) {
        int expected = run(path + "bash -c '\"$0\"' " + command).status;
        program_result result = run(path + SOFTTOKEN_TOOL " exec -- " + command);
        EXPECT_EQ(result.status, expected) << command << ": " << result.output;
        EXPECT_TRUE(expected == 126 || expected == 127) << command;
    }
}

TEST_F(softtoken_exec, runs_a_text_that_names_no_interpreter_as_the_shell_does) {
    for (const std::string& text :
         {script("text", "echo text \"$0\" \"$@\"; exit 5"), script("empty", ""),
          script("nameless", "#!\necho ran"), script("late", std::string("\n\0", 2))}) {
        program_result expected = run("sh -c '\"$0\" \"$@\"' " + text + " 'a  b' c 2>&1");
        program_result result = run_tool("exec -- " + text + " 'a  b' c");
        EXPECT_EQ(result.status, expected.status) << result.output;
        EXPECT_EQ(result.output, expected.output);
    }
    EXPECT_EQ(run_tool("exec -- " + root() + "/.text").output, "text " + root() + "/.text\n");
}

// A shell says that nothing was found in a folder of PATH that may not be searched.
TEST_F(softtoken_exec, ends_as_the_shell_does_where_a_folder_may_not_be_searched) {
    std::string folder = root() + "/.closed";
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file("/bin/true", folder + "/word");
    std::filesystem::permissions(folder, std::filesystem::perms::none);
    std::string path = "PATH=" + folder + ":$PATH; export PATH; " + without_rights_over_files;
    for (const auto& [command, status] :
         {std::pair{std::string("word"), 127}, std::pair{folder + "/word", 126}}) {
        program_result result = run(path + SOFTTOKEN_TOOL " exec -- " + command);
        EXPECT_EQ(result.status, status) << result.output;
        EXPECT_EQ(run(path + "bash -c '\"$0\"' " + command).status, status);
        EXPECT_EQ(run(path + "sh -c '\"$0\"' " + command).status, status);
    }
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
}

TEST_F(softtoken_exec, closed_folder_yields_to_one_that_may_be_searched) {
    std::string folder = root() + "/.closed";
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::none);
    program_result result = run("PATH=" + folder + ":$PATH; export PATH; " +
                                without_rights_over_files + SOFTTOKEN_TOOL " exec -- echo spoken");
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    EXPECT_EQ(result.output, "spoken\n");
}

TEST_F(softtoken_exec, file_that_may_not_be_run_yields_to_one_that_may) {
    std::filesystem::create_directories(root() + "/.first");
    std::filesystem::create_directories(root() + "/.second");
    write_file(root() + "/.first/word", "");
    std::filesystem::copy_file("/bin/echo", root() + "/.second/word");
    program_result result = run("PATH=" + root() + "/.first:" + root() +
                                "/.second " SOFTTOKEN_TOOL " exec -- word spoken");
    EXPECT_EQ(result.output, "spoken\n");
}

TEST_F(softtoken_exec, refuses_a_program_with_another_users_rights) {
    std::string copy = root() + "/privileged";
    std::filesystem::copy_file(file_of(FREES_AT_EXIT), copy);
    std::filesystem::permissions(copy, std::filesystem::perms::set_uid,
                                 std::filesystem::perm_options::add);
    program_result result = run_tool("exec -- " + copy);
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find("another user's rights"), std::string::npos);
}

TEST_F(softtoken_exec, refuses_a_program_with_file_capabilities) {
    std::string copy = root() + "/capable";
    std::filesystem::copy_file(file_of(FREES_AT_EXIT), copy);
    // As the kernel keeps them, in little-endian words: revision 2, effective;
    // CAP_NET_BIND_SERVICE.
    constexpr unsigned char capabilities[20] = {1, 0, 0, 2, 0, 4};
    if (setxattr(copy.c_str(), "security.capability", capabilities, sizeof(capabilities), 0) != 0) {
        GTEST_SKIP() << "only a privileged user gives a file capabilities";
    }
    program_result result = run_tool("exec -- " + copy);
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(
        result.output,
        "vemra-softtoken: " + copy +
            " has file capabilities and would not look for libraries where it is told to: run "
            "it without them\n");
}

TEST_F(softtoken_exec, missing_program_is_named) {
    program_result result = run_tool("exec -- no-such-program");
    EXPECT_EQ(result.status, 127);
    EXPECT_EQ(result.output, "vemra-softtoken: no-such-program: no such program\n");
}

TEST_F(softtoken_exec, program_that_cannot_be_run_is_named) {
    std::string broken = script("broken", "#!/no/such/interpreter");
    program_result result = run_tool("exec -- " + broken);
    EXPECT_EQ(result.output, "vemra-softtoken: " + broken +
                                 " cannot be run: its interpreter or loader is missing\n");
}
