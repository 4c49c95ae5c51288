#include <malloc.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>

#include "store/failure.h"
#include "store/slot_table.h"
#include "store/token_files.h"
#include "token_fixture.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

namespace {

unsigned int mode_of(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0U;
}

std::int64_t pragma(token_database& database, const char* sql) {
    sqlite_statement statement(database.connection(), sql);
    sqlite_query query(statement);
    return query.step() ? query.integer(0) : -1;
}

}  // namespace

class softtoken_storage : public token_test {};

TEST_F(softtoken_storage, files_are_private_to_the_user) {
    make_token("one");
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    ASSERT_EQ(fill_slot(device.get(), 8130, "bytes"), 1);
    EXPECT_EQ(mode_of(directory("one")), 0700U);
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory("one"))) {
        EXPECT_EQ(mode_of(entry.path()), 0600U) << entry.path();
        names.insert(entry.path().filename());
    }
    EXPECT_EQ(names, (std::set<std::string>{"attached", "password.lock", "token.db", "token.db-shm",
                                            "token.db-wal", "write.lock"}));
}

TEST_F(softtoken_storage, new_root_is_private_to_the_user) {
    create_token(root() + "/deeper/tokens", "one", plain_token("SN-1"));
    EXPECT_EQ(mode_of(root() + "/deeper/tokens"), 0700U);
}

TEST_F(softtoken_storage, new_root_named_with_a_slash_is_private_too) {
    create_token(root() + "/deeper/tokens/", "one", plain_token("SN-1"));
    EXPECT_EQ(mode_of(root() + "/deeper/tokens"), 0700U);
}

TEST_F(softtoken_storage, every_commit_is_synchronised) {
    make_token("one");
    token_database database(database_path(directory("one")));
    EXPECT_EQ(pragma(database, "PRAGMA synchronous"), 2);
    EXPECT_EQ(pragma(database, "PRAGMA application_id"), application_id);
    EXPECT_EQ(pragma(database, "PRAGMA user_version"), schema_version);
}

// The log belongs to whoever has the token open; another process that sees no lock takes it away.
TEST_F(softtoken_storage, second_look_at_a_file_keeps_the_locks_of_the_first) {
    make_token("one");
    std::string path = database_path(directory("one"));
    token_database first(path);
    ASSERT_EQ(first.info().serial_number, "SN-one");
    require_token_database(path);
    EXPECT_EQ(token_database(path).info().serial_number, "SN-one");
    ASSERT_EQ(run_tool("info one").status, 0);
    EXPECT_TRUE(std::filesystem::exists(path + "-wal"));
    first.connection().execute("UPDATE slot SET length = 0");
}

TEST_F(softtoken_storage, failure_of_a_damaged_file_quotes_no_raw_bytes) {
    make_token("one");
    std::string path = directory("one") + "/token.db";
    std::string bytes = file_bytes(path);
    std::size_t name = bytes.find("tableslotslot");
    ASSERT_NE(name, std::string::npos);
    bytes.replace(name + 5, 4, "\x1b[\xffm");
    write_file(path, bytes);
    try {
        token_database(path).info();
        FAIL() << "a damaged file was read";
    } catch (const failure& damage) {
        EXPECT_EQ(damage.what(), path + ": malformed database schema (?[?m)");
    }
}

TEST_F(softtoken_storage, process_that_ends_in_order_leaves_no_log) {
    make_token("one");
    ASSERT_EQ(run(CLOSES_LIBRARY " " SOFTTOKEN_LIBRARY).status, 0);
    EXPECT_FALSE(std::filesystem::exists(directory("one") + "/token.db-wal"));
}

TEST_F(softtoken_storage, token_that_the_disk_does_not_take_leaves_nothing) {
    program_result result = run("trap '' XFSZ; ulimit -f 8; echo secret | " SOFTTOKEN_TOOL
                                " create one --password-cost 1 --password-fd 0");
    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_TRUE(std::filesystem::is_empty(root()));
}

TEST_F(softtoken_storage, change_that_is_not_committed_leaves_no_trace) {
    make_token("one");
    token_database database(database_path(directory("one")));
    slot_table slots(database.connection());
    {
        transaction changing(database);
        slots.create(8130, reinterpret_cast<const unsigned char*>("\4\1\3\7"), 4, personality());
    }
    EXPECT_FALSE(slots.length(8130).has_value());
}

TEST_F(softtoken_storage, attribute_block_is_kept) {
    make_token("one");
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    ASSERT_EQ(fill_slot(device.get(), 8130, "bytes"), 1);
    ASSERT_EQ(create_slot(device.get(), 8131, 3), 1);
    token_database database(database_path(directory("one")));
    std::vector<slot_summary> slots = slot_table(database.connection()).list();
    ASSERT_EQ(slots.size(), 2U);
    EXPECT_EQ(slots[0].attributes, "\4\1\3\7");
    EXPECT_TRUE(slots[0].written);
    EXPECT_FALSE(slots[1].written);
    EXPECT_EQ(slots[1].length, 3);
}

TEST_F(softtoken_storage, name_that_is_no_directory_name_is_refused) {
    for (const char* name : {"", ".", "..", ".a", "-a", "a/b", "a b", "a\n"}) {
        EXPECT_THROW(create_token(root(), name, plain_token("SN-1")), failure) << name;
    }
    EXPECT_TRUE(std::filesystem::is_empty(root()));
}

TEST_F(softtoken_storage, second_token_of_the_same_name_is_refused) {
    make_token("one");
    EXPECT_THROW(make_token("one"), failure);
}

TEST_F(softtoken_storage, exported_names_are_those_of_the_list) {
    program_result exported = run("nm -D --defined-only --format=posix " SOFTTOKEN_LIBRARY
                                  " | cut -d' ' -f1 | LC_ALL=C sort");
    std::string wanted = file_bytes(FUNCTION_NAMES);
    EXPECT_NE(wanted, "");
    EXPECT_EQ(exported.output, wanted);
}

TEST_F(softtoken_storage, library_has_its_name_and_no_search_path) {
    std::string dynamic = run("readelf -d " SOFTTOKEN_LIBRARY).output;
    EXPECT_NE(dynamic.find("[libvemra_crypto.so.1]"), std::string::npos);
    EXPECT_EQ(dynamic.find("RPATH"), std::string::npos);
    EXPECT_EQ(dynamic.find("RUNPATH"), std::string::npos);
    EXPECT_NE(dynamic.find("NODELETE"), std::string::npos);
}

TEST_F(softtoken_storage, enumerating_unchanged_tokens_takes_no_memory_nor_files) {
    make_token("one");
    make_token("two");
    auto count_files = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    // A sanitizer's allocator always tells 0 here; the plain build tells the bytes in use.
    auto allocated = [] { return mallinfo2().uordblks; };
    for (int i = 0; i < 100; ++i)
        attached_count();
    auto files = count_files();
    auto bytes = allocated();
    for (int i = 0; i < 5000; ++i)
        attached_count();
    EXPECT_EQ(count_files(), files);
    EXPECT_EQ(allocated(), bytes);
}
