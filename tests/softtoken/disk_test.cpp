#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "format_1_token.h"
#include "store/sqlite_connection.h"
#include "store/token_files.h"
#include "token_fixture.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

namespace {

// For the process that calls it alone. An ordinary user may do so in a name space of users.
bool makes_read_only(const std::string& directory) {
    const char* path = directory.c_str();
    return unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(path, path, nullptr, MS_BIND, nullptr) == 0 &&
           mount(nullptr, path, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

}  // namespace

class softtoken_disk : public token_test {
protected:
    softtoken_disk() {
        make_token("one");
        device_owner device = device_at();
        log_in(device.get());
        fill_slot(device.get(), 8130, "bytes");
        detach("one");
        static_cast<void>(slot_bytes(device.get(), 8130));
        attach("one");
    }
    std::string database(const std::string& name = "one") const {
        return database_path(directory(name));
    }
    bool can_be_read_only() const {
        return in_child([&] { return makes_read_only(root()); });
    }
    bool on_read_only_disk(const std::function<bool()>& body) const {
        return in_child([&] { return makes_read_only(root()) && body(); });
    }
};

#define NEEDS_A_READ_ONLY_DISK() \
    if (!can_be_read_only()) GTEST_SKIP() << "this user may not mount anything"

TEST_F(softtoken_disk, token_on_a_read_only_disk_is_read) {
    NEEDS_A_READ_ONLY_DISK();
    ASSERT_FALSE(identify(database() + "-wal"));
    EXPECT_TRUE(on_read_only_disk([] {
        device_owner device = device_at();
        return serial_number_of(device.get()) == "SN-one" &&
               slot_bytes(device.get(), 8130) == "bytes" && log_in(device.get()) == -122;
    }));
    EXPECT_TRUE(on_read_only_disk([] {
        return run_tool("fsck").output == "one: sound\n" && run_tool("info one").status == 0 &&
               run_tool("slots one").status == 0;
    }));
}

TEST_F(softtoken_disk, token_with_a_log_on_a_read_only_disk_is_read_with_it) {
    NEEDS_A_READ_ONLY_DISK();
    EXPECT_FALSE(in_child([] {
        device_owner device = device_at();
        if (log_in(device.get()) == 1 && write_slot(device.get(), 8130, "BYTES") == 1) {
            kill(getpid(), SIGKILL);
        }
        return true;
    }));
    EXPECT_TRUE(on_read_only_disk([] { return slot_bytes(device_at().get(), 8130) == "BYTES"; }));
    std::filesystem::remove(database() + "-shm");
    EXPECT_TRUE(on_read_only_disk([] { return slot_bytes(device_at().get(), 8130) == "BYTES"; }));
}

TEST_F(softtoken_disk, token_of_format_1_on_a_read_only_disk_is_read) {
    NEEDS_A_READ_ONLY_DISK();
    run_tool("remove one");
    make_format_1_token(directory("old"));
    EXPECT_TRUE(on_read_only_disk([] {
        return slot_bytes(device_at().get(), 8130) == "written by format 1" &&
               run_tool("fsck").output == "old: sound\n";
    }));
}

TEST_F(softtoken_disk, odd_names_of_folders_are_no_matter_on_a_read_only_disk) {
    NEEDS_A_READ_ONLY_DISK();
    std::filesystem::create_directory(root() + "/.a b?c#d%41");
    setenv("VEMRA_SOFTTOKEN_DIR", (root() + "/.a b?c#d%41").c_str(), 1);
    create_token(root() + "/.a b?c#d%41", "two", plain_token("SN-two"));
    EXPECT_TRUE(on_read_only_disk([] { return serial_number_of(device_at().get()) == "SN-two"; }));
}

TEST_F(softtoken_disk, full_disk_is_told_by_fsck_as_such) {
    program_result result = run("trap '' XFSZ; ulimit -f 0; " SOFTTOKEN_TOOL " fsck one");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "one: " + database() +
                                 ": disk I/O error: File too large: that is no damage of the "
                                 "token: mend it, and check again\n"
                                 "vemra-softtoken: not all is sound: see the lines above\n");
}

TEST_F(softtoken_disk, token_in_use_is_told_by_fsck_as_such) {
    sqlite_connection holder(database(), SQLITE_OPEN_READWRITE);
    holder.execute("PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE");
    program_result result = run_tool("fsck one");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "one: " + database() +
                                 ": database is locked: the token is in use: check it again when "
                                 "the other program is done\n"
                                 "vemra-softtoken: not all is sound: see the lines above\n");
}

TEST_F(softtoken_disk, token_of_a_later_format_is_left_to_its_software) {
    ASSERT_EQ(run_tool("snapshot one " + root() + "/.file").status, 0);
    std::string bytes = file_bytes(database());
    bytes[63] = 99;
    write_file(database(), bytes);
    EXPECT_EQ(run_tool("fsck one").output,
              "one: " + database() +
                  ": token format 99 is not known here: check it with the software that made it\n"
                  "vemra-softtoken: not all is sound: see the lines above\n");
    program_result result = run_tool("restore one " + root() + "/.file");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("token format 99 is not known here"), std::string::npos);
    EXPECT_EQ(file_bytes(database()), bytes);
}

TEST_F(softtoken_disk, restore_takes_no_token_for_damaged_that_it_cannot_open) {
    ASSERT_EQ(run_tool("snapshot one " + root() + "/.file").status, 0);
    program_result result =
        run("trap '' XFSZ; ulimit -f 0; " SOFTTOKEN_TOOL " restore one " + root() + "/.file");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find(database() + ": disk I/O error: File too large"),
              std::string::npos)
        << result.output;
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
}
