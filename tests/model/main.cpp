#include <gtest/gtest.h>

#include <cstdlib>

// The same random uses in every run, unless RC_PARAMS asks for others: without a seed in it, a
// fresh one is drawn and printed.
int main(int argc, char** argv) {
    ::setenv("RC_PARAMS", "seed=1 max_success=300 max_size=100", 0);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
