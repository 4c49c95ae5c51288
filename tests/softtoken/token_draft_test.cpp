#include "store/token_draft.h"

#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "token_fixture.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

class softtoken_draft : public token_test {
protected:
    softtoken_draft() { make_token("one"); }

    // Kills a program while it makes the token "two", and gives the path of what is left.
    std::string what_a_killed_create_leaves() const {
        return run("printf 'secret\n' > " + root() +
                   "/.password; " SOFTTOKEN_TOOL " create two --password-cost 18 --password-file " +
                   root() + "/.password > " + root() +
                   "/.out & tool=$!; "
                   "while ! [ -e " +
                   root() +
                   "/.two.*/token.db ]; do sleep 0.01; done; "
                   "kill -9 $tool; wait $tool 2> " +
                   root() + "/.out; echo " + root() + "/.two.*")
            .output;
    }
};

TEST_F(softtoken_draft, what_a_killed_create_left_is_named_and_cleared_by_fsck) {
    std::string told = what_a_killed_create_leaves();
    std::string left = told.substr(told.rfind(root()));
    left.pop_back();
    ASSERT_TRUE(std::filesystem::exists(left)) << told;
    program_result result = run_tool("fsck");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "one: sound\n" + left +
                  ": left by a program that was killed, with a token's keys: run \"fsck --clear\"\n"
                  "vemra-softtoken: not all is sound: see the lines above\n");
    EXPECT_TRUE(std::filesystem::exists(left));
    EXPECT_EQ(run_tool("fsck --clear").status, 0);
    EXPECT_FALSE(std::filesystem::exists(left));
    EXPECT_EQ(run_tool("fsck").output, "one: sound\n");
}

TEST_F(softtoken_draft, what_a_running_program_is_at_is_left_alone) {
    token_draft running(root(), hidden_name("two"));
    std::filesystem::copy(directory("one"), running.path());
    program_result result = run_tool("fsck --clear");
    EXPECT_EQ(result.output, "one: sound\n");
    EXPECT_TRUE(std::filesystem::exists(running.path() + "/token.db"));
}

TEST_F(softtoken_draft, what_was_being_removed_or_replaced_is_cleared_too) {
    EXPECT_FALSE(in_child([&] {
        directory_lock in_use(directory("one"));
        std::filesystem::rename(directory("one"), root() + "/" + hidden_name("one"));
        kill(getpid(), SIGKILL);
        return true;
    }));
    EXPECT_EQ(find_hidden_tokens(root()).left.size(), 1U);
    EXPECT_EQ(run_tool("fsck --clear").status, 0);
    EXPECT_TRUE(find_hidden_tokens(root()).left.empty());
}

TEST_F(softtoken_draft, damaged_token_that_was_kept_is_named_and_not_cleared) {
    std::string kept = root() + "/" + hidden_name_of_damaged("one");
    std::filesystem::copy(directory("one"), kept);
    program_result result = run_tool("fsck --clear");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(
        result.output,
        "one: sound\n" + kept +
            ": a damaged token that \"restore\" kept, with its keys: remove it when nothing is "
            "to be saved from it\n");
    EXPECT_TRUE(std::filesystem::exists(kept));
}

TEST_F(softtoken_draft, hidden_directories_of_the_users_own_are_left_alone) {
    std::string own = root() + "/.notes.0123456789abcdef";
    std::filesystem::create_directory(own);
    write_file(own + "/letter", "dear");
    std::filesystem::create_directory(root() + "/.one.short");
    EXPECT_EQ(run_tool("fsck --clear").output, "one: sound\n");
    EXPECT_EQ(file_bytes(own + "/letter"), "dear");
    EXPECT_TRUE(std::filesystem::exists(root() + "/.one.short"));
}
