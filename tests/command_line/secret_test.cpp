#include "command_line/secret.h"

#include <gtest/gtest.h>

using vemra::secret;

TEST(secret, takes_as_many_bytes_as_it_says_and_no_more) {
    secret full;
    for (std::size_t i = 0; i < secret::longest; ++i)
        ASSERT_TRUE(full.push_back('x'));
    EXPECT_FALSE(full.push_back('x'));
    EXPECT_EQ(full.view().size(), secret::longest);
}

TEST(secret, cleared_secret_holds_none_of_its_bytes) {
    secret text;
    for (char byte : {'a', 'b', 'c'})
        text.push_back(byte);
    const char* bytes = text.c_str();
    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(std::string_view(bytes, 3), std::string_view("\0\0\0", 3));
}
