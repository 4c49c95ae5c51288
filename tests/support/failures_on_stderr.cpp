// Prints failed assertions on standard error too: a test that captures standard output would
// otherwise fail without a word. A test program only needs to be linked with this.

#include <gtest/gtest.h>

#include <cstdio>

namespace {

class failures_on_stderr : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (!result.failed()) return;
        std::fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(),
                     result.message());
    }
};

// The test framework owns its listeners.
[[maybe_unused]] const bool is_listening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new failures_on_stderr);
    return true;
}();

}  // namespace
