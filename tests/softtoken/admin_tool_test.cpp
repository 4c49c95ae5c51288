#include <cstdlib>
#include <filesystem>

#include "store/token_database.h"
#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_admin : public token_test {
protected:
    static program_result create(const std::string& arguments) {
        return run_tool("create " + arguments + " --password-cost 1 --password-fd 0", password);
    }
};

TEST_F(softtoken_admin, created_token_is_attached_and_usable) {
    program_result result = create("one --serial SN-1 --type 3");
    ASSERT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "one: serial number SN-1, type 3, attached\n");
    device_owner device = device_at();
    EXPECT_EQ(serial_number_of(device.get()), "SN-1");
    EXPECT_EQ(VemraPKICryptoGetType(device.get()), 3);
    EXPECT_EQ(log_in(device.get()), 1);
}

TEST_F(softtoken_admin, serial_numbers_are_random_by_default) {
    ASSERT_EQ(create("one").status, 0);
    ASSERT_EQ(create("two").status, 0);
    EXPECT_NE(serial_number_of(device_at(0).get()), serial_number_of(device_at(1).get()));
}

TEST_F(softtoken_admin, password_hash_is_costly_by_default) {
    ASSERT_EQ(run_tool("create one --password-fd 0", password).status, 0);
    vemra::softtoken::token_database database(directory("one") + "/token.db");
    vemra::softtoken::sqlite_statement cost(database.connection(), "SELECT cost FROM password");
    vemra::softtoken::sqlite_query query(cost);
    ASSERT_TRUE(query.step());
    EXPECT_EQ(query.small(0), 15);
}

TEST_F(softtoken_admin, same_serial_number_and_type_are_refused) {
    ASSERT_EQ(create("one --serial SN-1 --type 3").status, 0);
    program_result result = create("two --serial SN-1 --type 3");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("has this serial number and type already"), std::string::npos);
    EXPECT_EQ(create("two --serial SN-1 --type 4").status, 0);
}

TEST_F(softtoken_admin, empty_password_is_refused) {
    program_result result = run_tool("create one --password-fd 0", "");
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("is empty"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(directory("one")));
}

TEST_F(softtoken_admin, descriptor_that_was_not_given_is_refused_whatever_has_its_number) {
    create("one");
    for (const char* number : {"3", "4", "5", "6", "-1"}) {
        const std::string shut = *number == '-' ? "" : std::string(number) + "<&-";
        for (const char* option : {"--password-fd ", "--new-password-fd "}) {
            program_result result = run(std::string(SOFTTOKEN_TOOL " change-password one ") +
                                        option + number + " " + shut + " < /dev/null");
            EXPECT_EQ(result.status, 2);
            EXPECT_NE(result.output.find(std::string("descriptor ") + number + " is not open"),
                      std::string::npos)
                << result.output;
        }
    }
}

TEST_F(softtoken_admin, name_that_is_taken_is_refused_before_a_password_is_asked) {
    create("one");
    program_result result = run("setsid -w " SOFTTOKEN_TOOL " create one < /dev/null");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vemra-softtoken: " + directory("one") +
                                 " is there already: choose another name, or remove that token "
                                 "first\n");
}

TEST_F(softtoken_admin, password_that_no_program_could_give_is_refused) {
    program_result result =
        run("printf 'a\\000b\\n' | " SOFTTOKEN_TOOL " create one --password-fd 0");
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("has a zero byte"), std::string::npos) << result.output;
    result = run(SOFTTOKEN_TOOL " create one --password-file /dev/zero");
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("is longer than 1024 bytes"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(root()));
}

TEST_F(softtoken_admin, damaged_token_is_named_with_what_to_do) {
    create("one");
    write_file(directory("one") + "/token.db", "short");
    EXPECT_EQ(run_tool("info one").output, "vemra-softtoken: " + directory("one") +
                                               "/token.db: too short for a token: see what "
                                               "\"vemra-softtoken fsck\" says\n");
}

TEST_F(softtoken_admin, every_command_explains_itself) {
    for (const char* command :
         {"create",          "list",       "info",        "attach",        "detach",
          "change-password", "unlock",     "remove",      "slots",         "import-cert",
          "generate-cert",   "profile",    "certs",       "remove-cert",   "fault",
          "fault add",       "fault list", "fault clear", "fault recipes", "snapshot",
          "restore",         "dump",       "load",        "fsck",          "exec"}) {
        program_result result = run_tool(std::string(command) + " --help");
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_NE(result.output.find("Usage: "), std::string::npos) << command;
    }
}

TEST_F(softtoken_admin, password_may_come_from_a_file) {
    write_file(root() + "/password", std::string(password) + "\nnext line\n");
    program_result result =
        run_tool("create one --password-cost 1 --password-file " + root() + "/password");
    ASSERT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(log_in(device_at().get()), 1);
}

TEST_F(softtoken_admin, missing_password_file_is_named) {
    program_result result = run_tool("create one --password-file /no/such/file");
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("/no/such/file: No such file"), std::string::npos);
}

TEST_F(softtoken_admin, without_a_terminal_a_password_option_is_asked_for) {
    program_result result = run("setsid -w " SOFTTOKEN_TOOL " create one < /dev/null");
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("--password-file"), std::string::npos) << result.output;
}

TEST_F(softtoken_admin, list_shows_every_token_and_its_state) {
    create("one --serial SN-1 --type 3 --label Company");
    create("two --serial SN-2 --detached");
    EXPECT_EQ(run_tool("list").output,
              "TOKEN                SERIAL NUMBER          TYPE  STATE     LABEL\n"
              "one                  SN-1                      3  attached  Company\n"
              "two                  SN-2                      1  detached  two\n");
}

// A label may come from a snapshot of somebody else's.
TEST_F(softtoken_admin, printed_text_of_a_token_commands_no_terminal) {
    create("one");
    run_tool("generate-cert one --cn \"$(printf 'a\\033[31mred')\"");
    vemra::softtoken::token_database(directory("one") + "/token.db")
        .connection()
        .execute(
            "UPDATE token SET label = char(27) || '[31m' || char(0x9b) || char(10) || char(0x9752),"
            " serial_number = 'SN' || char(27) || 'c'");
    std::filesystem::create_directory(root() + "/\x1b[31m");
    write_file(root() + "/\x1b[31m/token.db", std::string(200, 'f'));
    std::string all;
    for (const char* command : {"list", "info one", "fsck", "certs one"})
        all += run_tool(command).output;
    EXPECT_EQ(all.find('\x1b'), std::string::npos) << all;
    EXPECT_EQ(all.find("\xc2\x9b"), std::string::npos) << all;
    EXPECT_NE(all.find("\\x1b[31m\\xc2\\x9b\\x0a\xe9\x9d\x92\n"), std::string::npos) << all;
}

TEST_F(softtoken_admin, label_that_commands_a_terminal_is_refused) {
    for (const char* label : {"a\x1b[31m", "\xc2\x9b", "\xff"}) {
        program_result result = create("one --label '" + std::string(label) + "'");
        EXPECT_EQ(result.status, 2) << result.output;
    }
    EXPECT_EQ(create("one --label '\xe9\x9d\x92'").status, 0);
}

TEST_F(softtoken_admin, list_reports_what_it_skips) {
    create("one");
    std::filesystem::create_directory(root() + "/foreign");
    write_file(root() + "/foreign/token.db", std::string(200, 'f'));
    program_result result = run_tool("list");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("token skipped: "), std::string::npos);
}

TEST_F(softtoken_admin, info_shows_the_token) {
    create("one --serial SN-1 --type 3 --login handle --retries 5 --capacity 1MiB --slots 6");
    program_result result = run_tool("info one");
    EXPECT_EQ(result.output,
              "serial number:  SN-1\n"
              "type:           3\n"
              "label:          one\n"
              "state:          attached\n"
              "login scope:    handle\n"
              "attempts left:  5 of 5\n"
              "slots:          0 of 6\n"
              "bytes:          0 of 1048576, at most 67108864 a slot\n"
              "speed:          0 microseconds a call, bytes at once\n"
              "faults:         0\n"
              "key pairs:      0\n"
              "directory:      " +
                  directory("one") +
                  "\n"
                  "behaviour:      differs from the default in\n"
                  "  capacity: 1048576\n"
                  "  slots: 6\n"
                  "  login: \"handle\"\n"
                  "  retries: 5\n");
}

TEST_F(softtoken_admin, detach_and_attach_unplug_and_plug) {
    create("one");
    ASSERT_EQ(attached_count(), 1);
    EXPECT_EQ(run_tool("detach one").status, 0);
    EXPECT_EQ(attached_count(), 0);
    EXPECT_EQ(run_tool("attach one").status, 0);
    EXPECT_EQ(attached_count(), 1);
}

TEST_F(softtoken_admin, missing_token_is_named_with_what_to_do) {
    for (const char* command : {"info", "attach", "detach", "remove", "slots", "unlock"}) {
        program_result result = run_tool(std::string(command) + " nowhere");
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.output, "vemra-softtoken: no token \"nowhere\" in " + root() +
                                     ": see \"vemra-softtoken list\"\n");
    }
}

TEST_F(softtoken_admin, removed_token_is_gone_whole) {
    create("one");
    device_owner device = device_at();
    EXPECT_EQ(run_tool("remove one").status, 0);
    EXPECT_TRUE(std::filesystem::is_empty(root()));
    EXPECT_EQ(serial_number_of(device.get()), "failed: -104");
}

// The token that a link leads to may be in use under its own name.
TEST_F(softtoken_admin, removing_a_link_says_so_and_leaves_the_token) {
    create("one");
    std::string elsewhere = root() + "/.elsewhere";
    std::filesystem::rename(directory("one"), elsewhere);
    std::filesystem::create_directory_symlink(elsewhere, directory("one"));
    program_result result = run_tool("remove one");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "one: only the link was removed, the token is still in " + elsewhere + "\n");
    EXPECT_FALSE(std::filesystem::is_symlink(directory("one")));
    EXPECT_EQ(run("ls " + elsewhere).output.substr(0, 9), "attached\n");
}

TEST_F(softtoken_admin, link_that_leads_nowhere_takes_a_name) {
    std::filesystem::create_directory_symlink("nowhere", directory("one"));
    program_result result = create("one");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("/one is there already"), std::string::npos) << result.output;
}

TEST_F(softtoken_admin, slots_are_listed_raw) {
    create("one");
    device_owner device = device_at();
    log_in(device.get());
    fill_slot(device.get(), 8127, "mapping");
    create_slot(device.get(), 8130, 70000);
    EXPECT_EQ(run_tool("slots one").output,
              "  SLOT        BYTES  ATTRIBUTES STATE\n"
              "  8127            7  04010307   written\n"
              "  8130        70000  04010307   created\n");
}

TEST_F(softtoken_admin, changed_password_replaces_the_old_one) {
    create("one");
    for (const char* command : {"change-password", "passwd"}) {
        write_file(root() + "/old", password);
        write_file(root() + "/new", "second");
        std::string arguments = std::string(command) + " one --password-file " + root() +
                                "/old --new-password-file " + root() + "/new";
        ASSERT_EQ(run_tool(arguments).status, 0);
        EXPECT_EQ(log_in(device_at().get()), wrong_password);
        EXPECT_EQ(log_in(device_at().get(), "second"), 1);
        run_tool("change-password one --password-file " + root() + "/new --new-password-file " +
                 root() + "/old");
    }
}

TEST_F(softtoken_admin, wrong_old_password_takes_a_retry_and_changes_nothing) {
    create("one --retries 2");
    write_file(root() + "/new", "second");
    std::string arguments = "passwd one --password-fd 0 --new-password-file " + root() + "/new";
    program_result result = run_tool(arguments, "wrong");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "vemra-softtoken: wrong password, attempts left: 1\n");
    EXPECT_EQ(run_tool(arguments, "wrong").status, 3);
    result = run_tool(arguments, password);
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.output.find("vemra-softtoken unlock one"), std::string::npos);
}

TEST_F(softtoken_admin, unlocked_token_takes_its_password_again) {
    create("one --retries 1");
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get(), "wrong"), wrong_password);
    ASSERT_EQ(log_in(device.get()), locked);
    EXPECT_EQ(run_tool("unlock one").status, 0);
    EXPECT_EQ(log_in(device.get()), 1);
}

TEST_F(softtoken_admin, wrong_usage_is_told_with_where_to_look) {
    const std::string program = "vemra-softtoken: ";
    for (const auto& [arguments, told] :
         {std::pair<std::string, std::string>{"", "give a command\nSee: vemra-softtoken --help\n"},
          {"fly", "there is no command or option fly\nSee: vemra-softtoken --help\n"},
          {"$(printf 'a\\033') b",
           "there is no command or option a\\x1b\nSee: vemra-softtoken --help\n"},
          {"fault", "give a command\nSee: vemra-softtoken fault --help\n"},
          {"fault fly", "there is no command or option fly\nSee: vemra-softtoken fault --help\n"},
          {"info", "TOKEN is required\nSee: vemra-softtoken info --help\n"},
          {"fault list a b c d",
           "not expected: b c d\nSee: vemra-softtoken fault list --help\n"}}) {
        program_result result = run_tool(arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_EQ(result.output, program + told) << arguments;
    }
}

TEST_F(softtoken_admin, version_is_told) {
    program_result result = run_tool("--version");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "vemra-softtoken " VEMRA_VERSION "\n");
}

TEST_F(softtoken_admin, bad_input_ends_with_status_2) {
    create("one");
    for (const char* arguments :
         {"info ../one", "create .one", "info ''", "fault add one fly", "fault add one 'ReadData'",
          "fault add one 'GetLastError null'", "create two --serial ''",
          "create two --serial \"$(printf '%065d' 1)\"",
          "create two --serial \"$(printf 'a\\tb')\""}) {
        program_result result = run_tool(arguments);
        EXPECT_EQ(result.status, 2) << arguments << ": " << result.output;
        EXPECT_EQ(result.output.rfind("vemra-softtoken: ", 0), 0U) << result.output;
    }
    EXPECT_EQ(run_tool("list | wc -l").output, "2\n");
}

TEST_F(softtoken_admin, wrong_usage_ends_with_status_2) {
    EXPECT_EQ(run_tool("").status, 2);
    EXPECT_EQ(run_tool("fly").status, 2);
    EXPECT_EQ(run_tool("create one --type -2").status, 2);
    EXPECT_EQ(run_tool("create one --login never").status, 2);
    EXPECT_EQ(run_tool("--help").status, 0);
}

TEST_F(softtoken_admin, number_that_no_slot_has_is_told_with_the_range) {
    for (const char* slot : {"-1", "1.5", "99999999999", "x"}) {
        program_result result = run_tool(std::string("dump one ") + slot + " file");
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.output.find("not in range 0 to 2147483647"), std::string::npos)
            << result.output;
    }
}
