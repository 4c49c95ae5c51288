#include "store/token_owner.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "store/token_database.h"
#include "store/token_files.h"
#include "token_fixture.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

namespace {

constexpr uid_t other_user = 65534;

// Gives up root in a child process.
bool becomes_other_user() {
    return setgroups(0, nullptr) == 0 && setresgid(other_user, other_user, other_user) == 0 &&
           setresuid(other_user, other_user, other_user) == 0;
}

}  // namespace

class softtoken_owner : public token_test {
protected:
    softtoken_owner() { make_token("one"); }

    // All that lies in the folder, and the folder.
    void give_all_to(uid_t user) const {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root()))
            EXPECT_EQ(lchown(entry.path().c_str(), user, user), 0);
        EXPECT_EQ(chown(root().c_str(), user, user), 0);
    }
    std::string not_of_other_user() const {
        return run("find " + root() + " ! -user 65534 -o ! -group 65534").output;
    }
    // A user that may not read everything: this one, or another one in place of root.
    bool as_ordinary_user(const std::function<bool()>& body) const {
        if (geteuid() == 0) give_all_to(other_user);
        return in_child([&] { return (geteuid() != 0 || becomes_other_user()) && body(); });
    }
    std::string file() const { return root() + "/.file"; }
};

#define NEEDS_ROOT() \
    if (geteuid() != 0) GTEST_SKIP() << "only root can act for another user"

TEST_F(softtoken_owner, what_root_makes_belongs_to_the_owner_of_the_database) {
    NEEDS_ROOT();
    give_all_to(other_user);
    ASSERT_EQ(run_tool("fault add one --recipe full").status, 0);
    EXPECT_EQ(not_of_other_user(), "");
    program_result result =
        run("printf 'correct horse\n' > " + file() + "; printf 'new one\n' > " + file() +
            "2; " SOFTTOKEN_TOOL " passwd one --password-file " + file() + " --new-password-file " +
            file() + "2; rm " + file() + "*");
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(not_of_other_user(), "");
    ASSERT_EQ(run_tool("detach one").status, 0);
    ASSERT_EQ(run_tool("attach one").status, 0);
    ASSERT_EQ(run_tool("profile one --slots 9").status, 0);
    EXPECT_EQ(not_of_other_user(), "");
    EXPECT_EQ(run_tool("fsck").output, "one: sound\n");
}

TEST_F(softtoken_owner, log_and_index_of_roots_program_belong_to_the_owner_of_the_database) {
    NEEDS_ROOT();
    give_all_to(other_user);
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    ASSERT_EQ(fill_slot(device.get(), 8130, "bytes"), 1);
    ASSERT_TRUE(identify(database_path(directory("one")) + "-wal"));
    EXPECT_EQ(not_of_other_user(), "");
}

TEST_F(softtoken_owner, token_that_root_restores_belongs_to_the_owner_of_the_one_before) {
    NEEDS_ROOT();
    give_all_to(other_user);
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(run_tool("restore one " + file()).status, 0);
    std::filesystem::remove(file());
    EXPECT_EQ(not_of_other_user(), "");
}

TEST_F(softtoken_owner, no_link_in_a_users_folder_is_followed) {
    NEEDS_ROOT();
    give_all_to(other_user);
    write_file(file(), "of root");
    ASSERT_EQ(symlink(file().c_str(), (directory("one") + "/faults.new").c_str()), 0);
    ASSERT_EQ(symlink(file().c_str(), (directory("one") + "/settings.lock").c_str()), 0);
    program_result result = run_tool("fault add one --recipe full");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.output, "settings.lock: Too many levels of symbolic links"))
        << result.output;
    std::filesystem::remove(directory("one") + "/settings.lock");
    EXPECT_EQ(run_tool("fault add one --recipe full").status, 0);
    EXPECT_EQ(file_bytes(file()), "of root");
    struct stat status {};
    ASSERT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
}

TEST_F(softtoken_owner, files_of_another_user_in_a_token_are_named_by_fsck) {
    NEEDS_ROOT();
    std::string lock = directory("one") + "/password.lock";
    write_file(lock, "");
    std::filesystem::permissions(lock, std::filesystem::perms(0600));
    give_all_to(other_user);
    ASSERT_EQ(chown(lock.c_str(), 0, 0), 0);
    program_result result = run_tool("fsck one");
    EXPECT_EQ(result.status, 1);
    std::string user = user_name(other_user);
    EXPECT_TRUE(has(result.output, "one: " + lock +
                                       " belongs to user root, the token's directory to " + user +
                                       ": as root, run \"chown " + user + ": " + lock + "\"\n"))
        << result.output;
}

TEST_F(softtoken_owner, another_users_token_in_a_shared_folder_is_named_and_not_taken) {
    NEEDS_ROOT();
    // Even one that may be read and written.
    run("chmod -R a+rwX " + root());
    EXPECT_TRUE(in_child([&] {
        if (!becomes_other_user()) return false;
        testing::internal::CaptureStderr();
        bool none = attached_count() == 0 && attached_count() == 0;
        return none && testing::internal::GetCapturedStderr() ==
                           "vemra-softtoken: token skipped: " + directory("one") +
                               ": belongs to user root, and only that user's programs take it\n";
    }));
    EXPECT_TRUE(in_child([&] {
        if (!becomes_other_user()) return false;
        std::string told = "one: belongs to user root, and only that user's programs take it";
        program_result slots = run_tool("slots one");
        program_result fsck = run_tool("fsck");
        return has(run_tool("list").output, told) && slots.status == 1 && has(slots.output, told) &&
               fsck.status == 1 && has(fsck.output, told) && !has(fsck.output, "restore");
    }));
}

TEST_F(softtoken_owner, token_that_cannot_be_read_is_named_by_library_list_and_fsck) {
    make_token("two");
    std::filesystem::permissions(directory("one"), std::filesystem::perms(0));
    EXPECT_TRUE(as_ordinary_user([&] {
        testing::internal::CaptureStderr();
        bool one_is_left = attached_count() == 1 && attached_count() == 1;
        return one_is_left && testing::internal::GetCapturedStderr() ==
                                  "vemra-softtoken: token skipped: " + directory("one") +
                                      "/token.db: Permission denied\n";
    }));
    EXPECT_TRUE(as_ordinary_user([&] {
        std::string told = directory("one") + "/token.db: Permission denied";
        program_result fsck = run_tool("fsck");
        program_result one = run_tool("fsck one");
        return has(run_tool("list").output, told) && fsck.status == 1 &&
               has(fsck.output, "one: " + told + ": that is no damage of the token") &&
               has(fsck.output, "two: sound\n") && one.status == 1 && has(one.output, told);
    }));
    std::filesystem::permissions(directory("one"), std::filesystem::perms(0700));
}

TEST_F(softtoken_owner, root_directory_that_cannot_be_read_is_an_error) {
    std::filesystem::permissions(root(), std::filesystem::perms(0));
    EXPECT_TRUE(as_ordinary_user([&] {
        testing::internal::CaptureStderr();
        bool fails =
            VemraPKICryptoGetAllDevices(-1, 0) == nullptr && VemraPKIGetLastError() == -122;
        return fails && testing::internal::GetCapturedStderr() ==
                            "vemra-softtoken: no tokens can be looked for: " + root() +
                                ": Permission denied\n";
    }));
    EXPECT_TRUE(as_ordinary_user([&] {
        for (const char* command : {"list", "fsck"}) {
            program_result result = run_tool(command);
            if (result.status != 1 || !has(result.output, root() + ": Permission denied"))
                return false;
        }
        return true;
    }));
    std::filesystem::permissions(root(), std::filesystem::perms(0700));
}
