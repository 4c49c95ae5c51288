#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "store/failure.h"
#include "store/token_database.h"
#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_enumeration : public token_test {};

TEST_F(softtoken_enumeration, without_tokens_there_is_no_list) {
    EXPECT_EQ(VemraPKICryptoGetAllDevices(-1, 0), nullptr);
}

TEST_F(softtoken_enumeration, missing_directory_gives_no_list) {
    setenv("VEMRA_SOFTTOKEN_DIR", (root() + "/nowhere").c_str(), 1);
    EXPECT_EQ(VemraPKICryptoGetAllDevices(-1, 0), nullptr);
    EXPECT_FALSE(std::filesystem::exists(root() + "/nowhere"));
}

TEST_F(softtoken_enumeration, lies_in_the_data_directory_by_default) {
    unsetenv("VEMRA_SOFTTOKEN_DIR");
    setenv("XDG_DATA_HOME", root().c_str(), 1);
    vemra::softtoken::create_token(root() + "/vemra-softtoken", "one", plain_token("SN-xdg"));
    EXPECT_EQ(serial_number_of(device_at().get()), "SN-xdg");
}

TEST_F(softtoken_enumeration, relative_data_directory_is_ignored) {
    unsetenv("VEMRA_SOFTTOKEN_DIR");
    setenv("XDG_DATA_HOME", "relative", 1);
    setenv("HOME", root().c_str(), 1);
    vemra::softtoken::create_token(root() + "/.local/share/vemra-softtoken", "one",
                                   plain_token("SN-home"));
    EXPECT_EQ(serial_number_of(device_at().get()), "SN-home");
}

TEST_F(softtoken_enumeration, order_is_that_of_the_names) {
    make_token("c");
    make_token("a");
    make_token("b");
    ASSERT_EQ(attached_count(), 3);
    EXPECT_EQ(serial_number_of(device_at(0).get()), "SN-a");
    EXPECT_EQ(serial_number_of(device_at(1).get()), "SN-b");
    EXPECT_EQ(serial_number_of(device_at(2).get()), "SN-c");
}

TEST_F(softtoken_enumeration, replugging_does_not_change_the_order) {
    make_token("a");
    make_token("b");
    detach("a");
    ASSERT_EQ(attached_count(), 1);
    attach("a");
    ASSERT_EQ(attached_count(), 2);
    EXPECT_EQ(serial_number_of(device_at(0).get()), "SN-a");
}

TEST_F(softtoken_enumeration, unchanged_tokens_give_the_same_list) {
    make_token("a");
    make_token("b");
    VEMRA_PKI_DEVICE_LIST_st* both = VemraPKICryptoGetAllDevices(-1, 0);
    EXPECT_EQ(VemraPKICryptoGetAllDevices(-1, 0), both);
    detach("b");
    VEMRA_PKI_DEVICE_LIST_st* one = VemraPKICryptoGetAllDevices(-1, 0);
    EXPECT_NE(one, both);
    attach("b");
    EXPECT_EQ(VemraPKICryptoGetAllDevices(-1, 0), both);
}

TEST_F(softtoken_enumeration, old_list_keeps_its_devices) {
    make_token("a");
    make_token("b");
    VEMRA_PKI_DEVICE_LIST_st* both = VemraPKICryptoGetAllDevices(-1, 0);
    detach("a");
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(VemraPKICryptoGetDeviceCount(both), 2);
    device_owner gone(VemraPKICryptoGetDevice(both, 0), VemraPKICryptoFreeDevice);
    EXPECT_EQ(serial_number_of(gone.get()), "failed: -104");
}

TEST_F(softtoken_enumeration, type_selects_devices_and_minus_one_takes_all) {
    auto other = plain_token("SN-typed");
    other.info.type = 9;
    make_token("a");
    make_token("b", other);
    VEMRA_PKI_DEVICE_LIST_st* typed = VemraPKICryptoGetAllDevices(9, 0);
    ASSERT_EQ(VemraPKICryptoGetDeviceCount(typed), 1);
    device_owner device(VemraPKICryptoGetDevice(typed, 0), VemraPKICryptoFreeDevice);
    EXPECT_EQ(serial_number_of(device.get()), "SN-typed");
    EXPECT_EQ(VemraPKICryptoGetType(device.get()), 9);
    EXPECT_EQ(VemraPKICryptoGetAllDevices(8, 0), nullptr);
    EXPECT_EQ(attached_count(), 2);
}

TEST_F(softtoken_enumeration, report_of_a_skipped_token_commands_no_terminal) {
    for (const char* name : {"\x1b[31m", "\xc2\x9b", "\xe9\x9d\x92"}) {
        std::filesystem::create_directory(directory(name));
        write_file(directory(name) + "/token.db", std::string(200, 'f'));
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 0);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("/?[31m/token.db"), std::string::npos) << told;
    EXPECT_NE(told.find("/\xc2?/token.db"), std::string::npos) << told;
    EXPECT_NE(told.find("/\xe9\x9d\x92/token.db"), std::string::npos) << told;
}

TEST_F(softtoken_enumeration, index_outside_the_list_gives_null) {
    make_token("a");
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    EXPECT_EQ(VemraPKICryptoGetDevice(list, 1), nullptr);
    EXPECT_EQ(VemraPKICryptoGetDevice(list, -1), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), -114);
}

TEST_F(softtoken_enumeration, hidden_and_stray_entries_are_not_tokens) {
    make_token("a");
    std::filesystem::copy(directory("a"), root() + "/.b", std::filesystem::copy_options::recursive);
    std::filesystem::create_directory(root() + "/empty");
    write_file(root() + "/stray", "text");
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(softtoken_enumeration, foreign_file_is_reported_once_and_left_alone) {
    make_token("a");
    std::filesystem::create_directory(root() + "/foreign");
    std::string bytes(5000, 'f');
    write_file(root() + "/foreign/token.db", bytes);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "vemra-softtoken: token skipped: " + root() + "/foreign/token.db: not a software token\n");
    EXPECT_EQ(file_bytes(root() + "/foreign/token.db"), bytes);
}

TEST_F(softtoken_enumeration, foreign_database_is_left_alone) {
    std::filesystem::create_directory(root() + "/foreign");
    std::string path = root() + "/foreign/token.db";
    vemra::softtoken::sqlite_connection(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
        .execute("CREATE TABLE token (uid TEXT); INSERT INTO token VALUES ('x')");
    write_file(root() + "/foreign/attached", "");
    std::string before = file_bytes(path);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("not a software token"),
              std::string::npos);
    EXPECT_EQ(file_bytes(path), before);
}

TEST_F(softtoken_enumeration, token_of_another_version_is_reported_and_left_alone) {
    make_token("a");
    std::string path = directory("a") + "/token.db";
    std::string bytes = file_bytes(path);
    bytes[63] = 99;
    write_file(path, bytes);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("token format 99 is not known here"),
              std::string::npos);
    EXPECT_EQ(file_bytes(path), bytes);
}

TEST_F(softtoken_enumeration, damaged_token_is_reported_and_left_alone) {
    make_token("a");
    make_token("b");
    std::string path = directory("a") + "/token.db";
    std::string bytes = file_bytes(path);
    for (std::size_t i = 100; i < bytes.size(); ++i)
        bytes[i] = '\x5a';
    write_file(path, bytes);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(attached_count(), 1);
    std::string report = testing::internal::GetCapturedStderr();
    EXPECT_EQ(report.find(path), report.rfind(path)) << report;
    EXPECT_NE(report.find("token skipped"), std::string::npos) << report;
    EXPECT_EQ(file_bytes(path), bytes);
    EXPECT_EQ(serial_number_of(device_at().get()), "SN-b");
}

TEST_F(softtoken_enumeration, truncated_token_is_reported_and_left_alone) {
    make_token("a");
    std::string path = directory("a") + "/token.db";
    std::string bytes = file_bytes(path).substr(0, 8192);
    write_file(path, bytes);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("token skipped"), std::string::npos);
    EXPECT_EQ(file_bytes(path), bytes);
}

TEST_F(softtoken_enumeration, damaged_log_is_reported_and_left_alone) {
    make_token("a");
    std::string log = directory("a") + "/token.db-wal";
    EXPECT_FALSE(in_child([] {
        device_owner device = device_at();
        if (log_in(device.get()) == 1 && fill_slot(device.get(), 8130, "bytes") == 1) {
            kill(getpid(), SIGKILL);
        }
        return true;
    }));
    std::string sound = file_bytes(log);
    std::string damaged = "damage" + sound.substr(6);
    write_file(log, damaged);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vemra-softtoken: token skipped: " + log +
                  ": damaged log; move it away to go on with the state before it\n");
    EXPECT_EQ(file_bytes(log), damaged);
    write_file(log, sound);
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
}

TEST_F(softtoken_enumeration, token_with_an_unknown_login_scope_is_reported_by_its_file) {
    make_token("a");
    std::string path = directory("a") + "/token.db";
    vemra::softtoken::sqlite_connection(path, SQLITE_OPEN_READWRITE)
        .execute("UPDATE token SET login_scope = 'whoever'");
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vemra-softtoken: token skipped: " + path + ": unknown login scope\n");
}

TEST_F(softtoken_enumeration, token_with_limits_that_cannot_be_is_reported_and_left_alone) {
    make_token("a");
    for (const char* limit :
         {"call_microseconds = 9223372036854775807", "call_microseconds = -1",
          "bytes_per_second = -1", "capacity = -1", "slot_size = -1", "slots = -1"}) {
        std::string path = directory("a") + "/token.db";
        std::string sound = file_bytes(path);
        vemra::softtoken::sqlite_connection(path, SQLITE_OPEN_READWRITE)
            .execute(std::string("UPDATE token SET ") + limit);
        std::string bytes = file_bytes(path);
        EXPECT_THROW(vemra::softtoken::token_database(path).info(), vemra::softtoken::failure)
            << limit;
        EXPECT_EQ(attached_count(), 0) << limit;
        EXPECT_EQ(file_bytes(path), bytes) << limit;
        write_file(path, sound);
    }
}

TEST_F(softtoken_enumeration, copy_of_a_token_beside_it_is_reported_and_skipped) {
    make_token("a");
    std::filesystem::copy(directory("a"), directory("b"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("a copy of a token beside it"),
              std::string::npos);
}

TEST_F(softtoken_enumeration, token_moved_under_another_name_is_the_same_token) {
    make_token("a");
    device_owner device = device_at();
    std::filesystem::rename(directory("a"), directory("b"));
    EXPECT_EQ(serial_number_of(device.get()), "failed: -104");
    ASSERT_EQ(attached_count(), 1);
    EXPECT_EQ(serial_number_of(device.get()), "SN-a");
}

TEST_F(softtoken_enumeration, another_directory_can_be_chosen_while_running) {
    make_token("a");
    ASSERT_EQ(attached_count(), 1);
    setenv("VEMRA_SOFTTOKEN_DIR", (root() + "/other").c_str(), 1);
    vemra::softtoken::create_token(root() + "/other", "x", plain_token("SN-x"));
    EXPECT_EQ(serial_number_of(device_at().get()), "SN-x");
}
