// Random uses of the library on one to four devices, checked step by step against the model.

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>

#include "model/listen.h"
#include "model/random_use.h"

namespace rc {

template <>
struct Arbitrary<step> {
    static Gen<step> arbitrary() {
        // Mostly what changes something: a stamp must be listed before it can be named.
        const auto kinds = gen::weightedElement<step::kind>({{5, step::list},
                                                             {4, step::take},
                                                             {2, step::ask_owner},
                                                             {5, step::append},
                                                             {5, step::update},
                                                             {4, step::erase},
                                                             {2, step::free_stamp},
                                                             {2, step::free_set},
                                                             {1, step::unplug},
                                                             {3, step::replug},
                                                             {2, step::fault},
                                                             {2, step::mend}});
        const auto number = gen::resize(kNominalSize, gen::arbitrary<unsigned char>());
        return gen::build<step>(gen::set(&step::what, kinds), gen::set(&step::device, number),
                                gen::set(&step::pick, number), gen::set(&step::text, number),
                                gen::set(&step::bytes, number));
    }
};

}  // namespace rc

namespace {

rc::Gen<std::vector<unsigned char>> _devices() {
    return rc::gen::mapcat(rc::gen::inRange<std::size_t>(1, 5), [](std::size_t count) {
        return rc::gen::container<std::vector<unsigned char>>(
            count, rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<unsigned char>()));
    });
}

bool _is_of_a_fault(const step& one) {
    return one.what == step::fault || one.what == step::mend;
}

void _compare(const plan& use) {
    random_use both(use.devices, new_use(), listen);
    for (const step& one : use.steps) {
        const std::string difference = both.perform(one);
        if (!difference.empty()) RC_FAIL(difference + "\n" + to_text(use));
    }
    const std::string difference = both.end();
    if (!difference.empty()) RC_FAIL(difference + "\nat the end of " + to_text(use));
}

}  // namespace

TEST(random_use, agrees_with_the_model_in_status_lines_slots_and_handles) {
    EXPECT_TRUE(rc::check([] {
        plan use{*_devices(), *rc::gen::arbitrary<std::vector<step>>()};
        use.steps.erase(std::remove_if(use.steps.begin(), use.steps.end(), _is_of_a_fault),
                        use.steps.end());
        _compare(use);
    }));
}

TEST(random_use, agrees_with_the_model_while_the_device_library_fails_lies_or_throws) {
    EXPECT_TRUE(rc::check([] {
        _compare({*_devices(), *rc::gen::arbitrary<std::vector<step>>()});
    }));
}
