// The first application, run as a person would run it: each command is a process of its own.
#include <sys/stat.h>

#include "seal_office.h"

namespace {

using end_to_end::listed_seal;
using end_to_end::outcome;
using end_to_end::read_file;

class seal_demo : public end_to_end::seal_office {
protected:
    seal_demo() { make_token("office", "SN-1", 1); }

    outcome store_named(const std::string& name) {
        return seal({"store", "SN-1", "1", name, SEAL_PICTURES "/name_seal.png"});
    }
};

TEST_F(seal_demo, another_process_lists_what_was_stored) {
    store("SN-1", 1, "Company seal 青湖", "company_seal.png");

    const std::vector<listed_seal> seals = list();

    ASSERT_EQ(seals.size(), 1u);
    EXPECT_EQ(seals[0].name, "Company seal 青湖");
    EXPECT_EQ(seals[0].type, "image");
    EXPECT_EQ(seals[0].bytes, std::to_string(picture("company_seal.png").size()));
    EXPECT_EQ(seals[0].serial, "SN-1");
    EXPECT_EQ(seals[0].device_type, "1");
}

TEST_F(seal_demo, a_picture_over_one_mebibyte_comes_back_byte_for_byte) {
    ASSERT_GT(picture("large_seal.png").size(), 1024u * 1024u);
    store("SN-1", 1, "Contract seal", "large_seal.png");

    EXPECT_TRUE(saved(uuid_of("Contract seal")) == picture("large_seal.png"));
}

TEST_F(seal_demo, show_tells_everything_about_one_seal) {
    store("SN-1", 1, "Name seal", "name_seal.png");

    const outcome shown = seal({"show", uuid_of("Name seal")});

    EXPECT_EQ(shown.exit_code, 0) << shown.errors;
    EXPECT_EQ(shown.output.substr(shown.output.find('\n') + 1),
              "name         Name seal\ntype         image\nbytes        " +
                  std::to_string(picture("name_seal.png").size()) +
                  "\ndevice       SN-1\ndevice type  1\n");
}

TEST_F(seal_demo, replacing_keeps_the_uuid_and_changes_bytes_and_name) {
    store("SN-1", 1, "Old", "name_seal.png");
    const std::string uuid = uuid_of("Old");

    const outcome replaced = seal({"replace", uuid, "New", SEAL_PICTURES "/company_seal.png"});

    EXPECT_EQ(replaced.exit_code, 0) << replaced.errors;
    ASSERT_EQ(list().size(), 1u);
    EXPECT_EQ(uuid_of("New"), uuid);
    EXPECT_TRUE(saved(uuid) == picture("company_seal.png"));
}

TEST_F(seal_demo, removing_takes_one_seal_and_leaves_the_others) {
    store("SN-1", 1, "First", "name_seal.png");
    store("SN-1", 1, "Second", "company_seal.png");

    const outcome removed = seal({"remove", uuid_of("First")});

    EXPECT_EQ(removed.exit_code, 0) << removed.errors;
    ASSERT_EQ(list().size(), 1u);
    EXPECT_TRUE(saved(uuid_of("Second")) == picture("company_seal.png"));
    EXPECT_EQ(token_tool({"slots", "office"}).output.find(" 8130 "), std::string::npos);
}

TEST_F(seal_demo, a_wrong_password_stores_nothing_and_costs_an_attempt) {
    const outcome refused = seal_with_input(
        "wrong password\n", {"store", "SN-1", "1", "Seal", SEAL_PICTURES "/name_seal.png"});

    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_NE(refused.errors.find("cannot store the seal: status 0, 失败"), std::string::npos);
    EXPECT_TRUE(list().empty());
    EXPECT_EQ(token_tool({"slots", "office"}).output.find(" 8130 "), std::string::npos);
    EXPECT_NE(token_tool({"info", "office"}).output.find("9 of 10"), std::string::npos);
    EXPECT_NE(trace().find("you can retry 9 more times."), std::string::npos);
}

TEST_F(seal_demo, a_failed_change_is_followed_by_what_to_do) {
    store("SN-1", 1, "Seal", "name_seal.png");
    const std::string uuid = uuid_of("Seal");
    const std::string advice =
        "seal_demo: list the seals before anything else; while one is missing, store none\n";

    for (const std::vector<std::string>& change :
         {std::vector<std::string>{"store", "SN-1", "1", "New", SEAL_PICTURES "/company_seal.png"},
          {"replace", uuid, "New", SEAL_PICTURES "/company_seal.png"},
          {"remove", uuid}}) {
        const outcome failed = seal_with_input("wrong password\n", change);
        EXPECT_EQ(failed.exit_code, 1);
        EXPECT_NE(failed.errors.find(advice), std::string::npos) << failed.errors;
    }
}

TEST_F(seal_demo, the_sixth_seal_does_not_fit_on_a_token) {
    for (const char* name : {"A", "B", "C", "D", "E"}) {
        store("SN-1", 1, name, "name_seal.png");
    }

    const outcome refused = store_named("F");

    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.errors, "seal_demo: the token holds five seals already, it is full\n");
    EXPECT_EQ(list().size(), 5u);
}

TEST_F(seal_demo, a_picture_that_does_not_fit_leaves_what_was_there) {
    make_token("small", "SN-S", 1, {"--capacity", "100000"});
    store("SN-S", 1, "Seal", "name_seal.png");
    const std::string uuid = uuid_of("Seal");

    const outcome stored = seal({"store", "SN-S", "1", "More", SEAL_PICTURES "/company_seal.png"});
    const outcome replaced = seal({"replace", uuid, "Seal", SEAL_PICTURES "/large_seal.png"});

    EXPECT_EQ(stored.exit_code, 1);
    EXPECT_EQ(replaced.exit_code, 1);
    ASSERT_EQ(list().size(), 1u);
    EXPECT_TRUE(saved(uuid) == picture("name_seal.png"));
}

TEST_F(seal_demo, seals_are_kept_whatever_a_login_counts_for) {
    for (const std::string scope : {"process", "handle", "none"}) {
        make_token(scope, "SN-" + scope, 1, {"--login", scope});
        store("SN-" + scope, 1, scope, "name_seal.png");
        const std::string uuid = uuid_of(scope);

        EXPECT_EQ(seal({"replace", uuid, scope, SEAL_PICTURES "/company_seal.png"}).exit_code, 0);
        EXPECT_TRUE(saved(uuid) == picture("company_seal.png"));
        EXPECT_EQ(seal({"remove", uuid}).exit_code, 0);
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(seal_demo, names_that_would_be_lost_are_refused) {
    for (const char* name : {"", "Sales & Service", "East||West", "two\nlines", "bell\a",
                             "next\xc2\x85line", "delete\x7f"}) {
        EXPECT_EQ(store_named(name).exit_code, 2) << name;
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(seal_demo, a_name_on_a_token_cannot_command_the_terminal) {
    store("SN-1", 1, "Seal", "name_seal.png");
    const std::string uuid = uuid_of("Seal");
    const std::string entry = "red\x1b[31m\xc2\x9b next\n\xe6\x9e\x97&8130";
    end_to_end::write_file(path("record"), std::string("\x1d\0\0\0\1", 5) + entry);
    ASSERT_EQ(entry.size() + 5, 0x1du);
    ASSERT_EQ(token_tool({"load", "office", "8127", path("record")}).exit_code, 0);

    ASSERT_EQ(list().size(), 1u);
    EXPECT_EQ(list()[0].name, "red?[31m?? next?林");
    EXPECT_NE(seal({"show", uuid}).output.find("red?[31m?? next?林\n"), std::string::npos);
}

TEST_F(seal_demo, a_name_with_single_bars_survives) {
    store("SN-1", 1, "|East|West|", "name_seal.png");

    EXPECT_TRUE(saved(uuid_of("|East|West|")) == picture("name_seal.png"));
}

TEST_F(seal_demo, an_empty_or_missing_picture_is_refused) {
    EXPECT_EQ(seal({"store", "SN-1", "1", "Seal", "/dev/null"}).exit_code, 1);
    EXPECT_EQ(seal({"store", "SN-1", "1", "Seal", path("nothing")}).exit_code, 1);
    EXPECT_TRUE(list().empty());
}

TEST_F(seal_demo, a_token_that_is_not_there_is_no_place_to_store) {
    EXPECT_EQ(seal({"store", "SN-2", "1", "Seal", SEAL_PICTURES "/name_seal.png"}).exit_code, 1);
    EXPECT_EQ(seal({"store", "SN-1", "2", "Seal", SEAL_PICTURES "/name_seal.png"}).exit_code, 1);
    EXPECT_TRUE(list().empty());
}

TEST_F(seal_demo, a_file_that_exists_is_not_saved_over) {
    store("SN-1", 1, "Seal", "name_seal.png");
    const std::string file = path("precious");
    end_to_end::write_file(file, "precious");

    EXPECT_EQ(seal({"save", uuid_of("Seal"), file}).exit_code, 1);
    EXPECT_EQ(read_file(file), "precious");
}

TEST_F(seal_demo, the_start_of_a_uuid_must_be_long_enough_and_known) {
    store("SN-1", 1, "Seal", "name_seal.png");

    EXPECT_EQ(seal({"remove", ""}).exit_code, 1);
    EXPECT_EQ(seal({"remove", uuid_of("Seal").substr(0, 7)}).exit_code, 1);
    EXPECT_EQ(seal({"remove", "0123456789ab"}).exit_code, 1);
    EXPECT_EQ(list().size(), 1u);
}

TEST_F(seal_demo, wrong_use_shows_how_it_is_done) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"list", "more"}, {"store", "SN-1"}, {"nonsense"}}) {
        const outcome refused = seal(words);
        EXPECT_EQ(refused.exit_code, 2);
        EXPECT_EQ(refused.errors.rfind("usage: seal_demo", 0), 0u);
    }
}

TEST_F(seal_demo, about_tells_the_version_and_nothing_of_the_trace) {
    const outcome about = seal({"about"});

    EXPECT_EQ(about.exit_code, 0);
    EXPECT_EQ(about.output.rfind("stamp library  1.0.0.0\nlog directory  ", 0), 0u);
    EXPECT_EQ(about.output.find("[VERBOSE]"), std::string::npos);
}

TEST_F(seal_demo, the_trace_goes_to_a_file_for_its_owner_alone) {
    store("SN-1", 1, "Seal", "name_seal.png");

    struct stat status {};
    ASSERT_EQ(stat(path("trace").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);
    EXPECT_NE(trace().find("[VemraAppStampAppendStamp]"), std::string::npos);
    EXPECT_NE(trace().find("right password"), std::string::npos);
}

TEST_F(seal_demo, a_trace_file_that_others_can_read_is_refused) {
    end_to_end::write_file(path("trace"), "");
    ASSERT_EQ(chmod(path("trace").c_str(), 0644), 0);

    EXPECT_EQ(seal({"list"}).exit_code, 1);
    EXPECT_EQ(trace(), "");
}

}  // namespace
