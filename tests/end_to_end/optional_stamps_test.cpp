// The application that works without stamps too.
#include <filesystem>

#include "seal_office.h"

namespace {

using end_to_end::outcome;
using end_to_end::process;

const std::string goes_on = "The application goes on.\n";

class optional_stamps : public end_to_end::seal_office {
protected:
    outcome run_with_libraries(const std::string& folders) {
        return process(path("."), {OPTIONAL_STAMPS}, "", {"LD_LIBRARY_PATH=" + folders}).wait();
    }
};

TEST_F(optional_stamps, names_the_device_library_when_that_is_missing) {
    const outcome result = run_with_libraries(STAMP_LIBRARY_DIR);

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.errors.rfind("No stamps: the maker's device library is missing or cannot be "
                                  "loaded: libvemra_crypto.so.1: ",
                                  0),
              0u)
        << result.errors;
    EXPECT_NE(result.errors.find(goes_on), std::string::npos);
    EXPECT_EQ(result.output, "");
}

TEST_F(optional_stamps, names_the_stamp_library_when_that_is_missing) {
    const outcome result = run_with_libraries(SOFTTOKEN_LIBRARY_DIR);

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.errors.rfind("No stamps: the stamp library is missing or cannot be loaded: "
                                  "libvemra_app_stamp.so.1: ",
                                  0),
              0u)
        << result.errors;
    EXPECT_NE(result.errors.find(goes_on), std::string::npos);
}

TEST_F(optional_stamps, counts_the_stamps_when_both_libraries_are_there) {
    make_token("office", "SN-1", 1);
    store("SN-1", 1, "Seal", "name_seal.png");

    const outcome result = run_on_tokens(
        {"env", std::string("LD_LIBRARY_PATH=" STAMP_LIBRARY_DIR ":" SOFTTOKEN_LIBRARY_DIR),
         OPTIONAL_STAMPS});

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.errors, "Stamp library 1.0.0.0: 1 stamps\n" + goes_on);
}

}  // namespace
