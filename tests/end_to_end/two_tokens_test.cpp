// Several tokens, tokens that come and go, and several processes at once.
#include "seal_office.h"

namespace {

using end_to_end::listed_seal;
using end_to_end::outcome;
using end_to_end::process;

class two_tokens : public end_to_end::seal_office {
protected:
    two_tokens() {
        make_token("office", "SN-1", 1);
        make_token("works", "SN-2", 2);
    }
};

TEST_F(two_tokens, one_list_shows_both_and_whose_each_seal_is) {
    store("SN-2", 2, "Works seal", "name_seal.png");
    store("SN-1", 1, "Office seal", "name_seal.png");

    const std::vector<listed_seal> seals = list();

    ASSERT_EQ(seals.size(), 2u);
    EXPECT_EQ(seals[0].serial + " " + seals[0].device_type + " " + seals[0].name,
              "SN-1 1 Office seal");
    EXPECT_EQ(seals[1].serial + " " + seals[1].device_type + " " + seals[1].name,
              "SN-2 2 Works seal");
    EXPECT_NE(seals[0].uuid_start, seals[1].uuid_start);
}

TEST_F(two_tokens, a_detached_token_takes_its_seals_along_and_brings_them_back) {
    store("SN-1", 1, "Office seal", "company_seal.png");
    store("SN-2", 2, "Works seal", "name_seal.png");
    const std::string uuid = uuid_of("Office seal");

    ASSERT_EQ(token_tool({"detach", "office"}).exit_code, 0);
    ASSERT_EQ(list().size(), 1u);
    EXPECT_EQ(list()[0].name, "Works seal");
    EXPECT_EQ(seal({"show", uuid}).exit_code, 1);

    ASSERT_EQ(token_tool({"attach", "office"}).exit_code, 0);
    EXPECT_TRUE(saved(uuid) == picture("company_seal.png"));
}

TEST_F(two_tokens, without_any_token_the_list_fails_and_the_trace_says_why) {
    ASSERT_EQ(token_tool({"detach", "office"}).exit_code, 0);
    ASSERT_EQ(token_tool({"detach", "works"}).exit_code, 0);

    const outcome listed = seal({"list"});

    EXPECT_EQ(listed.exit_code, 1);
    EXPECT_EQ(listed.output, "");
    EXPECT_NE(listed.errors.find("cannot list the tokens: status 0"), std::string::npos);
    EXPECT_NE(trace().find("[VemraAppStampGetAllStamps] No device."), std::string::npos);
}

TEST_F(two_tokens, a_full_token_leaves_room_on_the_other) {
    for (const char* name : {"A", "B", "C", "D", "E"})
        store("SN-1", 1, name, "name_seal.png");

    store("SN-2", 2, "F", "name_seal.png");

    EXPECT_EQ(list().size(), 6u);
}

// The slot being written may be absent or zero-filled for a moment; the ones before it, and other
// tokens, are not touched.
TEST_F(two_tokens, readers_beside_a_writer_get_untouched_seals_whole) {
    store("SN-1", 1, "Untouched", "company_seal.png");
    store("SN-1", 1, "Changing", "name_seal.png");
    store("SN-2", 2, "Elsewhere", "large_seal.png");
    const std::string untouched = uuid_of("Untouched");
    const std::string elsewhere = uuid_of("Elsewhere");
    const std::string changing = uuid_of("Changing");

    const auto writer =
        start_on_tokens({"sh", "-ec",
                         "for round in 1 2 3 4 5; do for picture in large company; do"
                         "  \"$0\" replace \"$1\" Changing \"$2/${picture}_seal.png\" <\"$3\";"
                         " done; done",
                         SEAL_DEMO, changing, SEAL_PICTURES, path("password")});
    int reads = 0;
    for (; !writer->has_ended(); ++reads) {
        ASSERT_TRUE(saved(untouched) == picture("company_seal.png"));
        ASSERT_TRUE(saved(elsewhere) == picture("large_seal.png"));
    }

    const outcome written = writer->wait();
    EXPECT_EQ(written.exit_code, 0) << written.errors;
    EXPECT_GT(reads, 0);
    EXPECT_TRUE(saved(changing) == picture("company_seal.png"));
}

TEST_F(two_tokens, writers_to_different_tokens_do_not_disturb_each_other) {
    const std::string file = SEAL_PICTURES "/name_seal.png";
    for (const char* name : {"A", "B", "C"}) {
        const auto office = start_seal({"store", "SN-1", "1", name, file});
        const auto works = start_seal({"store", "SN-2", "2", name, file});
        EXPECT_EQ(office->wait().exit_code, 0);
        EXPECT_EQ(works->wait().exit_code, 0);
    }

    EXPECT_EQ(list().size(), 6u);
}

}  // namespace
