// Uses that once disagreed with the model, shrunk, and uses that chance seldom makes.

#include <gtest/gtest.h>

#include "model/listen.h"
#include "model/random_use.h"

namespace {

/** The first disagreement of a use, or nothing. */
std::string _difference(const plan& use) {
    random_use both(use.devices, new_use(), listen);
    for (const step& one : use.steps) {
        const std::string difference = both.perform(one);
        if (!difference.empty()) return difference;
    }
    return both.end();
}

}  // namespace

TEST(random_use_regression, five_appends_fill_a_device_and_the_sixth_finds_it_full) {
    const step append{step::append, 0, 0, 0, 0};
    const step list{step::list, 0, 0, 0, 0};
    EXPECT_EQ(_difference({{0}, {append, append, append, append, append, append, list}}), "");
}

TEST(random_use_regression, a_uuid_known_before_a_replug_does_not_reach_the_device_again) {
    const plan use{{2},
                   {{step::list, 0, 0, 0, 0},
                    {step::unplug, 0, 0, 0, 0},
                    {step::replug, 0, 0, 0, 0},
                    {step::list, 0, 0, 0, 0},
                    {step::update, 0, 0, 1, 1},
                    {step::erase, 0, 0, 0, 0}}};
    EXPECT_EQ(_difference(use), "");
}

TEST(random_use_regression, a_name_that_names_a_slot_takes_over_that_slot) {
    const plan use{{3},
                   {{step::list, 0, 0, 0, 0},
                    {step::update, 0, 0, 6, 0},
                    {step::list, 0, 0, 0, 0},
                    {step::append, 0, 0, 0, 1},
                    {step::list, 0, 0, 0, 0}}};
    EXPECT_EQ(_difference(use), "");
}

TEST(random_use_regression, a_use_is_printed_as_the_text_that_makes_it) {
    const plan use{{2, 30}, {{step::list, 0, 1, 2, 3}, {step::free_set, 4, 5, 6, 7}}};
    EXPECT_EQ(to_text(use),
              "plan{{2, 30}, {{step::list, 0, 1, 2, 3}, {step::free_set, 4, 5, 6, 7}}}");
}
