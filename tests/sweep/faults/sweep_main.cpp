#include <gtest/gtest.h>

#include "support/allocation_faults.h"

// Only what the library allocates counts: the tests open a counted_scope around its calls.
int main(int argc, char** argv) {
    allocation_faults_exempt(1);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
