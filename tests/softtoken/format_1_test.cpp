#include "format_1_token.h"

#include <filesystem>

#include "store/failure.h"
#include "store/slot_table.h"
#include "store/token_files.h"
#include "token_fixture.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

class softtoken_format_1 : public token_test {
protected:
    softtoken_format_1() { make_format_1_token(directory("old")); }

    std::string database() const { return database_path(directory("old")); }
    std::string file() const { return root() + "/.file"; }
    // Where a program looks that knows nothing of what is still in the log. Another process looks:
    // one that closes the file drops its own locks on it.
    std::string version_in_the_file() const {
        return run("od -A n -t d1 -j 63 -N 1 " + database() + " | tr -d ' '").output;
    }
};

TEST_F(softtoken_format_1, is_read_and_not_changed) {
    std::string before = file_bytes(database());
    {
        device_owner device = device_at();
        EXPECT_EQ(serial_number_of(device.get()), "SN-old");
        EXPECT_EQ(slot_bytes(device.get(), 8130), "written by format 1");
        EXPECT_EQ(slot_bytes(device.get(), 8131), std::string(3, '\0'));
        EXPECT_EQ(slot_bytes(device.get(), 8132), "failed: -7");
    }
    EXPECT_EQ(run_tool("info old").status, 0);
    EXPECT_EQ(run_tool("slots old").output,
              "  SLOT        BYTES  ATTRIBUTES STATE\n"
              "  8130           19  04010307   written\n"
              "  8131            3  04010307   created\n");
    EXPECT_EQ(run_tool("dump old 8130 " + file()).status, 0);
    EXPECT_EQ(run_tool("fsck").output, "old: sound\n");
    detach("old");
    EXPECT_EQ(file_bytes(database()), before);
}

TEST_F(softtoken_format_1, first_write_takes_it_over) {
    device_owner device = device_at();
    ASSERT_EQ(slot_bytes(device.get(), 8130), "written by format 1");
    ASSERT_EQ(log_in(device.get()), 1);
    ASSERT_EQ(write_slot(device.get(), 8131, "new"), 1);
    EXPECT_EQ(version_in_the_file(), "2\n");
    EXPECT_EQ(slot_bytes(device.get(), 8130), "written by format 1");
    EXPECT_EQ(slot_bytes(device.get(), 8131), "new");
    EXPECT_EQ(run_tool("fsck").output, "old: sound\n");
    token_database(database())
        .connection()
        .execute("UPDATE slot SET bytes = CAST('Written by format 1' AS BLOB) WHERE id = 8130");
    EXPECT_EQ(slot_bytes(device.get(), 8130), "failed: -123");
}

TEST_F(softtoken_format_1, process_that_has_it_open_goes_on_when_another_takes_it_over) {
    device_owner device = device_at();
    ASSERT_EQ(slot_bytes(device.get(), 8130), "written by format 1");
    write_file(file(), "other bytes");
    ASSERT_EQ(run_tool("load old 8132 " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device.get(), 8130), "written by format 1");
    EXPECT_EQ(slot_bytes(device.get(), 8132), "other bytes");
    ASSERT_EQ(log_in(device.get()), 1);
    EXPECT_EQ(write_slot(device.get(), 8131, "new"), 1);
    EXPECT_EQ(run_tool("fsck").output, "old: sound\n");
}

TEST_F(softtoken_format_1, change_that_fails_leaves_it_as_it_was) {
    {
        token_database opened(database());
        slot_table slots(opened.connection());
        transaction changing(opened);
        slots.write(8130, "0123456789012345678", 19);
    }
    EXPECT_EQ(version_in_the_file(), "1\n");
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "written by format 1");
}

// A process that has had it open since before and knows nothing of sums.
TEST_F(softtoken_format_1, statements_of_format_1_fail_after_it_was_taken_over) {
    sqlite_connection older(database(), SQLITE_OPEN_READWRITE);
    sqlite_statement read(older, "SELECT length, data FROM slot WHERE id = 8130");
    sqlite_statement write(older, "UPDATE slot SET data = x'00' WHERE id = 8130");
    ASSERT_TRUE(sqlite_query(read).step());
    write_file(file(), "other bytes");
    ASSERT_EQ(run_tool("load old 8132 " + file()).status, 0);
    EXPECT_THROW(sqlite_query(read).step(), failure);
    EXPECT_THROW(sqlite_query(write).step(), failure);
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "written by format 1");
}

TEST_F(softtoken_format_1, snapshot_of_it_is_restored_and_taken_over) {
    ASSERT_EQ(run_tool("snapshot old " + file()).status, 0);
    EXPECT_EQ(file_bytes(file())[63], 1);
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    ASSERT_EQ(write_slot(device.get(), 8131, "new"), 1);
    ASSERT_EQ(run_tool("restore old " + file()).status, 0);
    EXPECT_EQ(version_in_the_file(), "2\n");
    EXPECT_EQ(slot_bytes(device.get(), 8130), "written by format 1");
    EXPECT_EQ(slot_bytes(device.get(), 8131), std::string(3, '\0'));
}
