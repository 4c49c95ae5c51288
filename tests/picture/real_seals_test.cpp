#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "picture/damage.h"
#include "picture/picture.h"

using vemra::tool::find_damage;
using vemra::tool::look_at;
using vemra::tool::picture;

namespace {

std::string _seal(const std::string& name) {
    std::ifstream file(SEAL_PICTURES "/" + name, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
}

// Every byte of the first and last thousand, and places apart from each other between them: each
// check reads all before the damage.
std::size_t _next(std::size_t place, std::size_t size) {
    return place < 1000 || place + 1000 >= size ? place + 1 : std::min(place + 61, size - 1000);
}

}  // namespace

TEST(real_seals, are_whole_and_transparent) {
    for (const char* name : {"company_seal.png", "name_seal.png", "large_seal.png"}) {
        const picture seen = look_at(_seal(name));
        EXPECT_EQ(seen.damage, "") << name;
        EXPECT_EQ(seen.transparent, picture::transparency::yes) << name;
    }
}

TEST(real_seals, cut_at_any_length_are_damaged) {
    const std::string seal = _seal("name_seal.png");
    for (std::size_t length = 4; length < seal.size(); length = _next(length, seal.size())) {
        ASSERT_NE(find_damage("image/png", std::string_view(seal).substr(0, length)), "") << length;
    }
}

TEST(real_seals, with_a_flipped_bit_are_damaged) {
    std::string seal = _seal("name_seal.png");
    for (std::size_t place = 0; place < seal.size(); place = _next(place, seal.size())) {
        const auto bit = static_cast<char>(1 << place % 8);
        seal[place] = static_cast<char>(seal[place] ^ bit);
        ASSERT_NE(find_damage("image/png", seal), "") << place;
        seal[place] = static_cast<char>(seal[place] ^ bit);
    }
}
