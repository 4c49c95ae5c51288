#include <filesystem>

#include "store/certificate.h"
#include "store/token_database.h"
#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_fsck : public token_test {
protected:
    softtoken_fsck() {
        make_token("one");
        EXPECT_EQ(run_tool("generate-cert one --cn Name").status, 0);
        device_owner device = device_at();
        log_in(device.get());
        fill_slot(device.get(), 8130, "bytes");
    }

    std::string database() const { return directory("one") + "/token.db"; }
    void change(const std::string& sql) const {
        vemra::softtoken::token_database(database()).connection().execute(sql);
    }
    // The one line about the token after a change, without the name before it.
    std::string found_after(const std::string& sql) const {
        change(sql);
        return found();
    }
    static std::string found() {
        program_result result = run_tool("fsck one");
        EXPECT_EQ(result.status, 1);
        std::string last = "vemra-softtoken: not all is sound: see the lines above\n";
        EXPECT_NE(result.output.find(last), std::string::npos) << result.output;
        return result.output.substr(0, result.output.find(last));
    }

    static constexpr const char* bring_back =
        "bring it back with \"restore one FILE\", or save its slots with \"dump\" and make it "
        "anew\n";
    static constexpr const char* load_anew = "give it other bytes with \"load one SLOT FILE\", or ";
};

TEST_F(softtoken_fsck, sound_token_is_sound) {
    program_result result = run_tool("fsck");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "one: sound\n");
    EXPECT_EQ(run_tool("fsck one").output, "one: sound\n");
}

TEST_F(softtoken_fsck, slots_are_checked) {
    EXPECT_EQ(found_after("UPDATE slot SET length = 9"),
              std::string("one: slot 8130: length 9, bytes 5: ") + load_anew + bring_back);
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "failed: -123");
    EXPECT_EQ(found_after("UPDATE slot SET length = -1"),
              std::string("one: slot 8130: length -1, bytes 5: ") + load_anew + bring_back);
    int length = 0;
    EXPECT_EQ(slot_length(device_at().get(), 8130, length), -123);
    EXPECT_EQ(found_after("UPDATE slot SET length = 5, attributes = x'0102'"),
              std::string("one: slot 8130: bad attribute block: ") + load_anew + bring_back);
    EXPECT_EQ(found_after("UPDATE slot SET id = -4, attributes = x'01020304'"),
              std::string("one: slot -4: bad number: ") + bring_back);
}

TEST_F(softtoken_fsck, damaged_slot_is_mended_by_other_bytes) {
    change("UPDATE slot SET length = -1, attributes = x''");
    write_file(root() + "/bytes", "mended");
    EXPECT_EQ(run_tool("load one 8130 " + root() + "/bytes").status, 0);
    EXPECT_EQ(run_tool("fsck one").output, "one: sound\n");
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "mended");
}

TEST_F(softtoken_fsck, password_and_its_counter_are_checked) {
    EXPECT_EQ(found_after("UPDATE password SET retries_left = 99"),
              "one: retry counter out of range: run \"unlock one\"\n");
    EXPECT_EQ(run_tool("unlock one").status, 0);
    EXPECT_EQ(run_tool("fsck one").output, "one: sound\n");
    for (const char* wrong : {"cost = 99", "cost = 0", "hash = x'00'", "salt = 3"}) {
        EXPECT_EQ(found_after(std::string("UPDATE password SET cost = 1, salt = x'00', hash = "
                                          "zeroblob(32); UPDATE password SET ") +
                              wrong),
                  std::string("one: password hash out of shape: ") + bring_back)
            << wrong;
    }
    EXPECT_EQ(found_after("DELETE FROM password"),
              std::string("one: password rows: 0: ") + bring_back);
}

TEST_F(softtoken_fsck, facts_of_the_token_are_checked) {
    EXPECT_EQ(found_after("UPDATE token SET capacity = -1"),
              "one: " + database() + ": limits out of range: " + bring_back);
    EXPECT_EQ(found_after("UPDATE token SET capacity = 1, login_scope = 'whoever'"),
              "one: " + database() + ": unknown login scope: " + bring_back);
    EXPECT_EQ(found_after("UPDATE token SET login_scope = 'none', type = -1"),
              "one: " + database() + ": device type out of range: " + bring_back);
}

TEST_F(softtoken_fsck, keys_and_certificates_are_checked) {
    EXPECT_EQ(found_after("UPDATE certificate SET der = x'00'"),
              std::string("one: certificate 1: not a certificate: ") + bring_back);
    std::string other = vemra::softtoken::make_certificate("Other", 30).der;
    write_file(root() + "/der", other);
    ASSERT_EQ(run_tool("import-cert one " + root() + "/der").status, 0);
    EXPECT_EQ(found_after("UPDATE certificate SET keypair = 1; DELETE FROM keypair WHERE id = 2;"
                          "DELETE FROM certificate WHERE id = 1"),
              std::string("one: certificate 2: it is of another key: ") + bring_back);
}

TEST_F(softtoken_fsck, private_key_belongs_to_its_public_key) {
    std::string other = vemra::softtoken::make_certificate("Other", 30).private_key;
    {
        vemra::softtoken::token_database opened(database());
        vemra::softtoken::sqlite_statement update(opened.connection(),
                                                  "UPDATE keypair SET private_key = ?1");
        vemra::softtoken::sqlite_query(update).bind_bytes(1, other.data(), other.size()).run();
    }
    EXPECT_EQ(found(),
              std::string("one: certificate 1: its private key is another's: ") + bring_back);
}

TEST_F(softtoken_fsck, file_that_is_no_token_is_named) {
    std::filesystem::remove(database() + "-wal");
    write_file(database(), std::string(500, 'f'));
    const std::string nothing_to_save =
        "bring it back with \"restore one FILE\", or make it anew\n";
    EXPECT_EQ(found(), "one: " + database() + ": not a software token: " + nothing_to_save);
    write_file(database(), "");
    EXPECT_EQ(found(), "one: " + database() + ": too short for a token: " + nothing_to_save);
}

TEST_F(softtoken_fsck, damage_inside_the_database_is_found) {
    change("PRAGMA wal_checkpoint(TRUNCATE)");
    std::string bytes = file_bytes(database());
    std::size_t page_size = static_cast<std::size_t>(bytes[16] << 8 | bytes[17]);
    std::size_t place = bytes.rfind("bytes");
    ASSERT_NE(place, std::string::npos);
    std::size_t page = place / page_size * page_size;
    for (std::size_t i = page; i < page + 64; ++i)
        bytes[i] = '\x5a';
    write_file(database(), bytes);
    EXPECT_NE(found().find(bring_back), std::string::npos);
}

TEST_F(softtoken_fsck, faults_are_checked) {
    write_file(directory("one") + "/faults", "Fly null\n");
    std::filesystem::permissions(directory("one") + "/faults", std::filesystem::perms(0600));
    std::string line = found();
    EXPECT_EQ(line.find("one: " + directory("one") + "/faults: fault \"Fly null\""), 0U) << line;
    EXPECT_NE(line.find(": run \"fault clear one\"\n"), std::string::npos) << line;
}

TEST_F(softtoken_fsck, files_that_others_may_use_are_named) {
    std::filesystem::permissions(database(), std::filesystem::perms(0644));
    EXPECT_EQ(found(),
              "one: others may use " + database() + ": run \"chmod go= " + database() + "\"\n");
}

TEST_F(softtoken_fsck, token_without_its_database_is_named) {
    make_token("two");
    std::filesystem::remove(directory("two") + "/token.db");
    std::filesystem::create_directory(root() + "/mine");
    program_result result = run_tool("fsck");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "one: sound\ntwo: " + directory("two") +
                  "/token.db: No such file or directory: bring it back with \"restore two FILE\", "
                  "or make it anew\n"
                  "vemra-softtoken: not all is sound: see the lines above\n");
}

TEST_F(softtoken_fsck, copy_beside_its_token_is_named) {
    std::filesystem::copy(directory("one"), directory("two"));
    std::filesystem::permissions(directory("two"), std::filesystem::perms(0700));
    program_result result = run_tool("fsck");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("two: a copy of \"one\" beside it: move one of them elsewhere\n"),
              std::string::npos)
        << result.output;
}
