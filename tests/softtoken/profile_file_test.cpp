#include <sys/stat.h>

#include <filesystem>

#include "one_token_test.h"
#include "personality/built_in_profiles.h"
#include "personality/knob.h"
#include "personality/profile_text.h"
#include "store/token_database.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

class softtoken_profile_file : public one_token_test {
protected:
    std::string path() const { return root() + "/.profile.json"; }
    // A profile's file with these knobs.
    void write_knobs(const std::string& knobs) const {
        write_file(path(), R"({"format": "vemra-softtoken profile", "version": 1, "knobs": )" +
                               knobs + "}");
    }
    program_result give() const { return run_tool("profile one --profile-file " + path()); }
};

TEST_F(softtoken_profile_file, sets_the_knobs_that_it_names_and_all_others_to_the_default) {
    ASSERT_EQ(run_tool("profile one --capacity 4 --login handle").status, 0);
    write_knobs(R"({"slots": 1, "retries": 4})");
    ASSERT_EQ(give().status, 0);
    EXPECT_NE(run_tool("info one")
                  .output.find("behaviour:      differs from the default in\n"
                               "  slots: 1\n"
                               "  retries: 4\n"),
              std::string::npos);
    EXPECT_EQ(create_slot(device(), 8131, 4), -113);
}

TEST_F(softtoken_profile_file, makes_a_new_token_and_single_knobs_go_over_it) {
    write_knobs(R"({"slots": 1, "retries": 4})");
    ASSERT_EQ(
        run_tool("create two --slots 2 --password-cost 1 --password-fd 0 --profile-file " + path(),
                 password)
            .status,
        0);
    EXPECT_NE(run_tool("info two").output.find("\n  slots: 2\n  retries: 4\n"), std::string::npos);
}

TEST_F(softtoken_profile_file, token_without_a_profile_behaves_as_by_default) {
    EXPECT_NE(run_tool("info one").output.find("behaviour:      as by default\n"),
              std::string::npos);
}

TEST_F(softtoken_profile_file, those_that_come_with_it_are_what_their_files_say) {
    ASSERT_EQ(built_in_profiles().size(), 3U);
    for (const built_in_profile& profile : built_in_profiles()) {
        ASSERT_EQ(run_tool(std::string("profile one --profile ") + profile.name).status, 0);
        const std::string named = run_tool("info one").output;
        ASSERT_EQ(run_tool("profile one --profile generous").status, 0);
        write_file(path(), profile.text);
        ASSERT_EQ(give().status, 0);
        EXPECT_EQ(run_tool("info one").output, named);
    }
}

TEST_F(softtoken_profile_file, every_knob_is_an_option_that_does_the_same) {
    for_each_knob([](const knob& one) {
        personality set;
        const std::string value = one.get(set).dump();
        const bool is_text = value.front() == '"';
        // A text that is nothing has no word.
        if (one.name != "serial-told") {
            set_knob(set, one.name, is_text ? value.substr(1, value.size() - 2) : value);
        }
        EXPECT_TRUE(differences(set).empty()) << one.name;
        EXPECT_NE(run_tool("create --help").output.find("--" + one.name + " "), std::string::npos)
            << one.name;
    });
}

TEST_F(softtoken_profile_file, text_that_is_no_profile_is_named_and_changes_nothing) {
    const std::string before = run_tool("info one").output;
    const std::string frame = R"({"format": "vemra-softtoken profile", "version": 1)";
    const std::pair<std::string, const char*> wrong[] = {
        {"", "no JSON"},
        {"slots: 3", "no JSON, at byte 1"},
        {frame, "no JSON"},
        {"[]", "no JSON object"},
        {frame + "}", "\"knobs\" is missing"},
        {R"({"version": 1, "knobs": {}})", "\"format\" is missing"},
        {R"({"format": "other", "version": 1, "knobs": {}})", "\"format\" is not"},
        {R"({"format": "vemra-softtoken profile", "version": 2, "knobs": {}})",
         "\"version\" is not 1"},
        {frame + R"(, "knobs": {}, "more": 1})", "\"more\" is no key"},
        {frame + R"(, "about": 1, "knobs": {}})", "\"about\" is no text"},
        {frame + R"(, "knobs": []})", "\"knobs\" is no object"},
        {frame + R"(, "knobs": {"slots": 1, "slots": 2}})", "\"slots\" is told twice"},
        {frame + R"(, "knobs": {}, "knobs": {}})", "\"knobs\" is told twice"},
        {frame + R"(, "knobs": {"slotz": 1}})", "no knob \"slotz\""},
        {frame + R"(, "knobs": {"slots": "1"}})", "the knob \"slots\" is a whole number"},
        {frame + R"(, "knobs": {"slots": 1.5}})", "the knob \"slots\" is a whole number"},
        {frame + R"(, "knobs": {"slots": -1}})", "the knob \"slots\" is a whole number"},
        {frame + R"(, "knobs": {"slots": 4e1111}})", "a number that is too large"},
        {frame + R"(, "knobs": {"capacity": 18446744073709551615}})", "the knob \"capacity\" is"},
        {frame + R"(, "knobs": {"login": "never"}})", "the knob \"login\" is one of process"},
        {frame + R"(, "knobs": {"slots": )" + std::string(100000, '['), "nested too deeply"},
        {frame + R"(, "about": ")" + std::string(2 << 20, 'x') + R"(", "knobs": {}})",
         "more than the 1048576 bytes"},
    };
    for (const auto& [text, told] : wrong) {
        write_file(path(), text);
        const program_result result = give();
        EXPECT_EQ(result.status, 2) << told;
        EXPECT_NE(result.output.find(told), std::string::npos) << told << ": " << result.output;
        EXPECT_EQ(run_tool("create two --password-fd 0 --profile-file " + path(), password).status,
                  2);
    }
    EXPECT_EQ(run_tool("info one").output, before);
    EXPECT_EQ(attached_count(), 1);
}

TEST_F(softtoken_profile_file, what_is_no_plain_file_is_refused_at_once) {
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    for (const std::string& wrong : {path(), root(), std::string("/dev/zero")}) {
        const program_result result = run_tool("profile one --profile-file " + wrong);
        EXPECT_EQ(result.status, 2) << wrong;
        EXPECT_NE(result.output.find("no plain file"), std::string::npos) << result.output;
    }
}

TEST_F(softtoken_profile_file, file_of_100_megabytes_is_refused_unread) {
    write_file(path(), "{");
    std::filesystem::resize_file(path(), 100'000'000);
    const program_result result = give();
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("more than the 1048576 bytes"), std::string::npos);
}

TEST_F(softtoken_profile_file, profile_and_file_exclude_each_other) {
    write_knobs("{}");
    EXPECT_EQ(run_tool("profile one --profile small --profile-file " + path()).status, 2);
}

TEST_F(softtoken_profile_file, token_gets_format_3_with_what_its_columns_cannot_tell_alone) {
    auto version = [this] {
        token_database database(directory("one") + "/token.db");
        return format_version(database.connection());
    };
    ASSERT_EQ(run_tool("profile one --slots 3 --login handle --retries 4").status, 0);
    EXPECT_EQ(version(), 2U);
    ASSERT_EQ(run_tool("profile one --lie writes-nothing").status, 0);
    EXPECT_EQ(version(), 3U);
    EXPECT_EQ(file_bytes(directory("one") + "/token.db")[63], 3);
    EXPECT_EQ(slot_bytes(device(), 8130), "bytes");
    ASSERT_EQ(run_tool("snapshot one " + path()).status, 0);
    ASSERT_EQ(run_tool("profile one --profile generous").status, 0);
    EXPECT_NE(run_tool("info one").output.find("as by default"), std::string::npos);
    ASSERT_EQ(run_tool("restore one " + path()).status, 0);
    EXPECT_NE(run_tool("info one").output.find("  lie: \"writes-nothing\"\n"), std::string::npos);
}

TEST_F(softtoken_profile_file, behaviour_that_is_damaged_is_told) {
    ASSERT_EQ(run_tool("profile one --lie writes-nothing").status, 0);
    token_database(directory("one") + "/token.db")
        .connection()
        .execute(R"(UPDATE behaviour SET knobs = '{"unheard": 1}')");
    EXPECT_NE(run_tool("fsck one").output.find("behaviour: there is no knob \"unheard\""),
              std::string::npos);
}
