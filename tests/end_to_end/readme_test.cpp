// The program that README.md shows, compiled from there.
#include "seal_office.h"

namespace {

class readme : public end_to_end::seal_office {};

TEST_F(readme, program_reads_the_seals_of_all_tokens) {
    make_token("office", "SN-1", 1);
    make_token("works", "SN-2", 2);
    store("SN-1", 1, "Company seal 青湖", "company_seal.png");
    store("SN-2", 2, "Name seal", "name_seal.png");

    const end_to_end::outcome result = run_on_tokens({README_PROGRAM});

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.errors,
              "Company seal 青湖: " + std::to_string(picture("company_seal.png").size()) +
                  " bytes\nName seal: " + std::to_string(picture("name_seal.png").size()) +
                  " bytes\n");
}

TEST_F(readme, program_tells_a_seal_that_cannot_be_taken_from_the_end_of_the_set) {
    make_token("office", "SN-1", 1);
    for (const char* name : {"A", "B", "C"})
        store("SN-1", 1, name, "name_seal.png");
    const std::string size = std::to_string(picture("name_seal.png").size());

    const end_to_end::outcome result = run_on_tokens({README_PROGRAM_REFUSED});

    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.errors, "A: " + size + " bytes\nseal 2 of 3 cannot be taken: status -3\nC: " +
                                 size + " bytes\n");
}

}  // namespace
