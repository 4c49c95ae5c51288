#include <filesystem>
#include <set>

#include "one_token_test.h"
#include "store/fault_file.h"
#include "store/token_database.h"

using namespace softtoken_test;

namespace {

std::set<std::string> entries_of(const std::string& directory) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        names.insert(entry.path().filename());
    return names;
}

}  // namespace

class softtoken_snapshot : public one_token_test {
protected:
    std::string file() const { return root() + "/.file"; }
};

TEST_F(softtoken_snapshot, restored_token_is_as_it_was_and_logged_out) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(write_slot(device(), 8130, "other"), 1);
    ASSERT_EQ(fill_slot(device(), 8131, "later"), 1);
    program_result result = run_tool("restore one " + file());
    ASSERT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    EXPECT_EQ(slot_bytes(device(), 8131), "failed: -7");
    EXPECT_EQ(write_slot(device(), 8130, "other"), not_logged_in);
    EXPECT_EQ(log_in(device()), 1);
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
}

TEST_F(softtoken_snapshot, removed_token_comes_back_from_its_snapshot) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(run_tool("remove one").status, 0);
    ASSERT_EQ(run_tool("restore two " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
}

TEST_F(softtoken_snapshot, unplugged_token_stays_unplugged) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    detach("one");
    ASSERT_EQ(run_tool("restore one " + file()).status, 0);
    EXPECT_EQ(attached_count(), 0);
}

TEST_F(softtoken_snapshot, snapshot_overwrites_nothing) {
    write_file(file(), "mine");
    EXPECT_EQ(run_tool("snapshot one " + file()).status, 1);
    EXPECT_EQ(file_bytes(file()), "mine");
}

TEST_F(softtoken_snapshot, snapshot_of_another_token_is_refused) {
    make_token("two");
    ASSERT_EQ(run_tool("snapshot two " + file()).status, 0);
    program_result result = run_tool("restore one " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("another token"), std::string::npos);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_snapshot, file_that_is_no_snapshot_is_refused) {
    write_file(file(), std::string(500, 'f'));
    EXPECT_EQ(run_tool("restore one " + file()).status, 1);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_snapshot, is_private_to_the_user_and_sound_by_itself) {
    ASSERT_EQ(run("umask 0; " SOFTTOKEN_TOOL " snapshot one " + file()).status, 0);
    EXPECT_EQ(run("stat -c %a " + file()).output, "600\n");
    EXPECT_EQ(entries_of(root()), (std::set<std::string>{".file", "one"}));
    vemra::softtoken::token_database database(file());
    EXPECT_EQ(database.info().serial_number, "SN-one");
}

TEST_F(softtoken_snapshot, failed_snapshot_leaves_no_file) {
    program_result result = run_tool("snapshot one /no/such/directory/file");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "vemra-softtoken: /no/such/directory/file: No such file or directory\n");
    detach("one");
    ASSERT_EQ(slot_bytes(device(), 8130), "failed: -104");
    std::string path = directory("one") + "/token.db";
    write_file(path, file_bytes(path).substr(0, 100) + std::string(40000, 'x'));
    EXPECT_EQ(run_tool("snapshot one " + file()).status, 1);
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(softtoken_snapshot, snapshot_that_the_disk_does_not_take_leaves_no_file) {
    program_result result =
        run("trap '' XFSZ; ulimit -f 8; " SOFTTOKEN_TOOL " snapshot one " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, "vemra-softtoken: ")) << result.output;
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(softtoken_snapshot, damaged_snapshot_changes_nothing) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    vemra::softtoken::token_database(file()).connection().execute("DELETE FROM token");
    program_result result = run_tool("restore one " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, "is damaged, nothing was changed: token rows: 0"))
        << result.output;
    EXPECT_EQ(write_slot(device(), 8130, "other"), 1);
    EXPECT_EQ(entries_of(root()), (std::set<std::string>{".file", "one"}));
}

TEST_F(softtoken_snapshot, somebodys_own_directory_is_left_alone) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(run_tool("remove one").status, 0);
    std::filesystem::create_directory(directory("mine"));
    write_file(directory("mine") + "/letter", "dear");
    program_result result = run_tool("restore mine " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, "is there already and is no token")) << result.output;
    EXPECT_EQ(file_bytes(directory("mine") + "/letter"), "dear");
    EXPECT_EQ(entries_of(root()), (std::set<std::string>{".file", "mine"}));
}

TEST_F(softtoken_snapshot, damaged_token_comes_back_and_its_files_are_kept) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    run_tool("detach one");
    ASSERT_EQ(slot_bytes(device(), 8130), "failed: -104");
    write_file(directory("one") + "/token.db", "what is left of it");
    program_result result = run_tool("restore one " + file());
    ASSERT_EQ(result.status, 0) << result.output;
    std::string told = "one: the damaged token was kept in ";
    ASSERT_EQ(result.output.substr(0, told.size()), told);
    std::string kept = result.output.substr(told.size(), result.output.size() - told.size() - 1);
    EXPECT_EQ(file_bytes(kept + "/token.db"), "what is left of it");
    run_tool("attach one");
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
}

TEST_F(softtoken_snapshot, link_in_the_tokens_place_is_left_alone) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    std::string elsewhere = root() + "/.elsewhere";
    std::filesystem::rename(directory("one"), elsewhere);
    std::filesystem::create_directory_symlink(elsewhere, directory("one"));
    program_result result = run_tool("restore one " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, directory("one") + " is a link: restore where it leads"))
        << result.output;
    EXPECT_TRUE(std::filesystem::is_symlink(directory("one")));
    EXPECT_EQ(entries_of(root()), (std::set<std::string>{".elsewhere", ".file", "one"}));
}

TEST_F(softtoken_snapshot, second_copy_beside_the_token_is_refused) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    program_result result = run_tool("restore two " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, "is of the token \"one\"")) << result.output;
    EXPECT_FALSE(std::filesystem::exists(directory("two")));
}

TEST_F(softtoken_snapshot, token_in_use_is_no_snapshot) {
    program_result result = run_tool("restore two " + directory("one") + "/token.db");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, "is a token in use and no snapshot")) << result.output;
}

TEST_F(softtoken_snapshot, restored_token_has_no_faults) {
    ASSERT_EQ(run_tool("fault add one --recipe worn-out").status, 0);
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(run_tool("restore one " + file()).status, 0);
    EXPECT_EQ(run_tool("fault list one").output, "");
}

TEST_F(softtoken_snapshot, certificates_and_password_attempts_come_back_too) {
    ASSERT_EQ(run_tool("generate-cert one --cn Name").status, 0);
    ASSERT_EQ(log_in(device(), "wrong"), wrong_password);
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(log_in(device()), 1);
    ASSERT_EQ(run_tool("restore one " + file()).status, 0);
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device()), 1);
    EXPECT_TRUE(has(run_tool("info one").output, "attempts left:  9 of 10"));
}
