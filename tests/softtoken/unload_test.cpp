#include "token_fixture.h"

using namespace softtoken_test;

// The two libraries under an application that loads and unloads them.
class softtoken_unload : public token_test {
protected:
    softtoken_unload() {
        make_token("one");
        run(SOFTTOKEN_TOOL " exec -- " STAMP_CLIENT " append SN-one 1 'correct horse' seal 400 a");
    }
    static std::string closing_first(const std::string& which) {
        program_result result =
            run(CLOSES_BOTH " " SOFTTOKEN_LIBRARY " " STAMP_LIBRARY " " + which + " > /dev/null");
        return result.output + std::to_string(result.status);
    }
};

TEST_F(softtoken_unload, stamp_library_may_be_closed_before_the_token) {
    EXPECT_EQ(closing_first("stamps"), "1\ndone\n0");
}

TEST_F(softtoken_unload, token_may_be_closed_before_the_stamp_library) {
    EXPECT_EQ(closing_first("token"), "1\ndone\n0");
}
