#include "command_line/text.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace vemra;

TEST(printable_text, shows_letters_and_masks_what_a_terminal_would_obey) {
    use_utf8();
    const std::vector<std::pair<std::string, std::string>> table{
        {"plain", "plain"},
        {"\xe9\x9d\x92\xe6\xb9\x96", "\xe9\x9d\x92\xe6\xb9\x96"},
        {"\x1b[31mred", "\\x1b[31mred"},
        {"line\nline\r\t", "line\\x0aline\\x0d\\x09"},
        {"\x7f", "\\x7f"},
        {"\xc2\x9b"
         "31m",
         "\\xc2\\x9b31m"},
        {"\xe2\x80\xae"
         "back",
         "\\xe2\\x80\\xae"
         "back"},
        {"stray \xff", "stray \\xff"},
        {std::string("a\0b", 3), "a\\x00b"},
    };
    for (const auto& [text, shown] : table)
        EXPECT_EQ(printable(text), shown);
}
