#include "base/path.h"

#include <gtest/gtest.h>

#include <iterator>
#include <type_traits>

using qo::base::path;

namespace {

using components_t = std::list<std::string>;

// The components of a path, taken off its end one by one.
components_t components_of(path whole) {
    components_t components;
    const path none;
    for (; !(whole == none); whole = whole.parent())
        components.push_front(whole.base_name());
    return components;
}

struct splitting {
    std::string text;
    components_t components;
};

TEST(path, splits_by_its_own_rules) {
    const splitting table[] = {
        {"", {""}},
        {"ab/cd", {"ab", "cd"}},
        {"ab\\cd", {"ab", "cd"}},
        {"ab/cd\\ef", {"ab", "cd", "ef"}},
        {"/usr/lib", {"/usr", "lib"}},  // a leading separator stays
        {"a//bc", {"a", "/bc"}},        // a second one goes to the next component
        {"a///bc", {"a", "/", "bc"}},   // which a third one ends
        {"a/b/", {"a", "b"}},
        {"dir/x", {"dir"}},  // a last component of one character is dropped
        {"a/b", {"a"}},
        {"x", {}},
        {"/", {}},
        {"//", {"/"}},
        {"ab", {"ab"}},
        {"ab/", {"ab"}},
        {"ab//", {"ab"}},
        {"\\ab", {"\\ab"}},
        {"/var/logs/VEMRA_APP_STAMP/", {"/var", "logs", "VEMRA_APP_STAMP"}},
    };
    for (const splitting& row : table) {
        SCOPED_TRACE(row.text);
        EXPECT_TRUE(path(row.text) == path(row.components.begin(), row.components.end()))
            << "got " << std::string(path(row.text));
    }
}

TEST(path, of_the_empty_text_has_one_empty_component) {
    const path whole{std::string()};
    EXPECT_EQ(whole.root_name(), "");
    EXPECT_FALSE(whole.has_parent());
    EXPECT_FALSE(whole == path());
}

TEST(path, without_components_is_empty_everywhere) {
    const path none;
    EXPECT_EQ(none.root_name(), "");
    EXPECT_EQ(none.base_name(), "");
    EXPECT_EQ(none.suffix(), "");
    EXPECT_EQ(none.dir_name(), "");
    EXPECT_FALSE(none.has_parent());
    EXPECT_TRUE(none.parent() == none);
    EXPECT_EQ(std::string(none), "");
}

TEST(path, of_a_slash_b_has_the_base_name_a) {
    EXPECT_EQ(path("a/b").base_name(), "a");
}

TEST(path, names_its_first_and_last_component) {
    const path whole("root/middle/base.png");
    EXPECT_EQ(whole.root_name(), "root");
    EXPECT_EQ(whole.base_name(), "base.png");
}

TEST(path, suffix_follows_the_last_dot_of_the_base_name) {
    EXPECT_EQ(path("dir/a.tar.gz").suffix(), "gz");
    EXPECT_EQ(path("dir/name.").suffix(), "");
    EXPECT_EQ(path("dir/name").suffix(), "");
    EXPECT_EQ(path("dir/.profile").suffix(), "profile");
    EXPECT_EQ(path("dir.d/name").suffix(), "");
}

TEST(path, parent_drops_the_last_component) {
    EXPECT_EQ(components_of(path("aa/bb/cc").parent()), (components_t{"aa", "bb"}));
    EXPECT_TRUE(path("aa").parent() == path());
}

TEST(path, has_a_parent_with_two_components_or_more) {
    EXPECT_FALSE(path("aa").has_parent());
    EXPECT_TRUE(path("aa/bb").has_parent());
}

TEST(path, dir_name_is_the_last_component_but_one) {
    EXPECT_EQ(path("aa/bb/cc").dir_name(), "bb");
    EXPECT_EQ(path("aa").dir_name(), "");
}

TEST(path, join_appends_the_split_text_to_a_copy) {
    const path whole("aa/bb");
    EXPECT_EQ(components_of(whole.join("cc/dd")), (components_t{"aa", "bb", "cc", "dd"}));
    EXPECT_EQ(components_of(whole.join("/cc")), (components_t{"aa", "bb", "/cc"}));
    EXPECT_EQ(components_of(whole.join("x")), (components_t{"aa", "bb"}));
    EXPECT_EQ(components_of(whole), (components_t{"aa", "bb"}));
}

TEST(path, join_with_the_empty_text_appends_an_empty_component) {
    EXPECT_EQ(std::string(path("aa").join("")), "aa/");
}

TEST(path, prints_with_the_separator_of_the_style) {
    const path whole("ab/cd");
    EXPECT_EQ(whole.to_string(path::style_t::slash), "ab/cd");
    EXPECT_EQ(whole.to_string(path::style_t::backslash), "ab\\cd");
    EXPECT_EQ(whole.to_string(path::style_t(7)), "ab\\cd");
}

TEST(path, styles_are_numbered_zero_and_one) {
    EXPECT_EQ(static_cast<int>(path::style_t::slash), 0);
    EXPECT_EQ(static_cast<int>(path::style_t::backslash), 1);
}

TEST(path, converts_to_text_with_slashes_and_none_at_the_end) {
    EXPECT_EQ(std::string(path("/var\\logs\\stamps\\")), "/var/logs/stamps");
    EXPECT_EQ(std::string(path(std::string())), "");
}

TEST(path, is_made_from_a_range_without_splitting) {
    const components_t names = {"aa", "b/b", "c"};
    EXPECT_EQ(components_of(path(std::next(names.begin()), names.end())),
              (components_t{"b/b", "c"}));
}

TEST(path, copies_its_components) {
    const path whole("aa/bb");
    const path copy(whole);
    EXPECT_TRUE(copy == whole);
}

TEST(path, equals_only_the_same_components_in_the_same_order) {
    EXPECT_TRUE(path("aa/bb") == path("aa\\bb"));
    EXPECT_FALSE(path("aa/bb") == path("bb/aa"));
    EXPECT_FALSE(path("aa/bb") == path("aa"));
    EXPECT_FALSE(path("aa/bb") == path("aa/bB"));
}

}  // namespace
