#include "command_line/password_source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>
#include <vector>

#include "command_line/descriptor.h"
#include "command_line/input_error.h"

using namespace vemra;

class password_from : public testing::Test {
protected:
    password_from() : path_(testing::TempDir() + "password.XXXXXX") {
        file_ = descriptor(mkstemp(path_.data()));
    }
    ~password_from() override { unlink(path_.c_str()); }

    void write(const std::string& bytes) const {
        ASSERT_TRUE(write_all(file_.get(), bytes));
        lseek(file_.get(), 0, SEEK_SET);
    }
    password_source file() const { return {path_, -1, false, ""}; }
    password_source open_descriptor() const { return {"", file_.get(), false, ""}; }
    const std::string& path() const { return path_; }

    bool read(const password_source& source) {
        return read_password(source, "password", password_,
                             [this](const std::string& warning) { warned_ += warning; });
    }
    // Why the source gives no password; empty when it gives one.
    std::string refusal(const password_source& source) {
        try {
            read(source);
            return {};
        } catch (const input_error& error) {
            return error.what();
        }
    }
    std::string_view password() const { return password_.view(); }
    const std::string& warned() const { return warned_; }

private:
    std::string path_;
    descriptor file_;
    secret password_;
    std::string warned_;
};

TEST_F(password_from, a_file_is_its_first_line) {
    for (const char* bytes : {"secret", "secret\n", "secret\nnext line\n"}) {
        truncate(path().c_str(), 0);
        write(bytes);
        EXPECT_FALSE(read(file())) << "nobody typed it";
        EXPECT_EQ(password(), "secret");
    }
    EXPECT_EQ(warned(), "");
}

TEST_F(password_from, a_descriptor_leaves_what_follows_the_line) {
    write("secret\nmore");
    password_source source = open_descriptor();
    EXPECT_FALSE(read(source));
    EXPECT_EQ(password(), "secret");
    EXPECT_EQ(read_all(source.descriptor, 100), "more");
}

TEST_F(password_from, a_descriptor_is_read_once) {
    write("secret\nother\n");
    read(open_descriptor());
    read(open_descriptor());
    EXPECT_EQ(password(), "secret");
}

TEST_F(password_from, a_line_that_is_no_password_is_refused_and_named) {
    const std::string longest(secret::longest, 'x');
    const std::vector<std::pair<std::string, std::string>> table{
        {"", ": its first line is empty"},
        {"\nsecret\n", ": its first line is empty"},
        {longest + "x", " is longer than 1024 bytes: that is no password"},
        {std::string("a\0b\n", 4), " has a zero byte, which no password can have"},
    };
    for (const auto& [bytes, reason] : table) {
        truncate(path().c_str(), 0);
        write(bytes);
        const std::string told = refusal(file());
        EXPECT_NE(told.find(path() + reason), std::string::npos) << told;
    }
    truncate(path().c_str(), 0);
    write(longest + "\n");
    EXPECT_EQ(refusal(file()), "");
}

TEST_F(password_from, a_source_that_cannot_be_read_is_named_with_the_reason) {
    EXPECT_EQ(refusal({"/no/such/file", -1, false, ""}),
              "the password cannot be read from /no/such/file: No such file or directory");
    EXPECT_EQ(refusal({"", 9999, false, ""}),
              "the password cannot be read from descriptor 9999: Bad file descriptor");
}

TEST_F(password_from, a_file_that_others_can_read_is_warned_of) {
    write("secret\n");
    chmod(path().c_str(), 0640);
    read(file());
    EXPECT_EQ(warned(), "others can read " + path() + ": chmod 600 " + path());
}

TEST_F(password_from, nobody_is_asked_where_that_is_forbidden) {
    EXPECT_EQ(refusal({"", -1, true, "new-"}),
              "a password is needed: give --new-password-file or --new-password-fd");
}
