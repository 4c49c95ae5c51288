// Tells failures on standard error too: many tests capture standard output while they compare.

#include <gtest/gtest.h>

#include <cstdio>

namespace {

class failures_on_stderr : public ::testing::EmptyTestEventListener {
    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (!result.failed()) return;
        std::fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(),
                     result.message());
    }
};

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new failures_on_stderr);
    return RUN_ALL_TESTS();
}
