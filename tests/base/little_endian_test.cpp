#include "base/little_endian.h"

#include <gtest/gtest.h>

using qo::base::from_little_endian;
using qo::base::to_little_endian;

namespace {

struct row {
    std::uint32_t value;
    std::string bytes;
};

const row rows[] = {
    {0, std::string("\0\0\0\0", 4)},  {5, std::string("\x05\0\0\0", 4)},
    {0x04030201, "\x01\x02\x03\x04"}, {0x80000000, std::string("\0\0\0\x80", 4)},
    {0xfffefdfc, "\xfc\xfd\xfe\xff"},
};

TEST(little_endian, writes_the_lowest_byte_first) {
    for (const row& expected : rows) {
        EXPECT_EQ(to_little_endian(expected.value), expected.bytes) << expected.value;
    }
}

TEST(little_endian, reads_what_begins_with_the_lowest_byte) {
    for (const row& given : rows) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(given.bytes.data());
        EXPECT_EQ(from_little_endian(bytes), given.value);
    }
}

}  // namespace
