#include "fuzz_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

// The fuzzer reports on standard error; the library's lines go nowhere.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
    return 0;
}

void claim(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what.c_str());
    std::abort();
}

unsigned char choices::byte() {
    if (left_ == 0) return 0;
    --left_;
    return *next_++;
}

int choices::number() {
    unsigned int value = 0;
    for (int i = 0; i < 4; ++i)
        value = value * 256 + byte();
    return static_cast<int>(value);
}

std::string choices::text() {
    const std::size_t length = std::min<std::size_t>(byte(), left_);
    const std::string result(next_, next_ + length);
    next_ += length;
    left_ -= length;
    return result;
}

std::string choices::rest() {
    const std::string result(next_, next_ + left_);
    left_ = 0;
    return result;
}
