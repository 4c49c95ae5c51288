#include <sys/xattr.h>

#include <filesystem>

#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_exec : public token_test {
protected:
    softtoken_exec() {
        make_token("one");
        device_owner device = device_at();
        log_in(device.get());
        fill_slot(device.get(), 8130, "bytes");
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

TEST_F(softtoken_exec, refuses_a_program_whose_rpath_leads_elsewhere) {
    program_result result = run_tool("exec -- " USES_OTHER_LIBRARY);
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find("would load the device library"), std::string::npos);
    EXPECT_NE(result.output.find("other/libvemra_crypto.so.1"), std::string::npos);
}

TEST_F(softtoken_exec, refuses_a_preloaded_library_under_any_name) {
    std::string copy = root() + "/innocent.so";
    std::filesystem::copy_file(OTHER_LIBRARY, copy);
    // AddressSanitizer, where it is built in, wants to be preloaded first.
    program_result result = run("ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" + copy +
                                " " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find(copy), std::string::npos) << result.output;
}

TEST_F(softtoken_exec, overrides_the_callers_library_path) {
    std::string other = std::filesystem::path(OTHER_LIBRARY).parent_path();
    program_result result =
        run("LD_LIBRARY_PATH=" + other + " " SOFTTOKEN_TOOL " exec -- " FREES_AT_EXIT);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "bytes\nfreed\n");
}

TEST_F(softtoken_exec, refuses_a_program_with_another_users_rights) {
    std::string copy = root() + "/privileged";
    std::filesystem::copy_file(FREES_AT_EXIT, copy);
    std::filesystem::permissions(copy, std::filesystem::perms::set_uid,
                                 std::filesystem::perm_options::add);
    program_result result = run_tool("exec -- " + copy);
    EXPECT_EQ(result.status, 125);
    EXPECT_NE(result.output.find("another user's rights"), std::string::npos);
}

TEST_F(softtoken_exec, refuses_a_program_with_file_capabilities) {
    std::string copy = root() + "/capable";
    std::filesystem::copy_file(FREES_AT_EXIT, copy);
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
    write_file(root() + "/broken", "#!/no/such/interpreter\n");
    std::filesystem::permissions(root() + "/broken", std::filesystem::perms::owner_all);
    program_result result = run_tool("exec -- " + root() + "/broken");
    EXPECT_EQ(result.status, 126);
    EXPECT_NE(result.output.find("cannot be run"), std::string::npos);
}
