#include "store/fault.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "store/device_function.h"
#include "store/failure.h"

using namespace vemra::softtoken;

namespace {

// For a call of each of the slots, whether the fault fires.
std::string firing(const std::string& text, const std::vector<int>& slots) {
    fault_plan plan(parse_faults(text));
    std::string fired;
    for (int slot : slots)
        fired += plan.due("VemraPKICryptoReadData", slot, true).empty() ? '.' : 'x';
    return fired;
}

std::string firing(const std::string& text, int calls) {
    return firing(text, std::vector<int>(static_cast<std::size_t>(calls), 8130));
}

// The texts of what fires at one call.
std::string at_one_call(fault_plan& plan, const char* function, bool has_token = true) {
    std::string fired;
    for (const fault& each : plan.due(function, -1, has_token))
        fired += (fired.empty() ? "" : ", ") + each.text;
    return fired;
}

// Why a text is refused; empty when it is not.
std::string refusal(const std::string& text, fault (*parse)(const std::string&) = parse_fault) {
    try {
        parse(text);
        return {};
    } catch (const failure& error) {
        EXPECT_EQ(error.code(), error_code::bad_argument);
        return error.what();
    }
}

}  // namespace

TEST(softtoken_fault_text, every_function_that_can_fail_can_be_told_to) {
    std::ifstream names(FUNCTION_NAMES);
    std::string name;
    int known = 0;
    while (names >> name) {
        const bool never_fails = name.find("Free") != std::string::npos ||
                                 name == "VemraPKIGetLastError" || name == "VemraPKIGetErrorMsg";
        EXPECT_EQ(find_function(short_name(name)) == nullptr, never_fails) << name;
        ++known;
    }
    EXPECT_GT(known, 0);
}

TEST(softtoken_fault_text, transient_fault_fires_at_its_call_only) {
    EXPECT_EQ(firing("ReadData return=-5", 4), "x...");
    EXPECT_EQ(firing("ReadData call=3 return=-5", 5), "..x..");
}

TEST(softtoken_fault_text, lasting_fault_fires_from_its_call_on) {
    EXPECT_EQ(firing("ReadData call=3 return=-5 lasting", 5), "..xxx");
}

TEST(softtoken_fault_text, slot_and_function_must_fit) {
    EXPECT_EQ(firing("ReadData slot=8130 return=-5", 1), "x");
    EXPECT_EQ(firing("ReadData slot=8131 return=-5", 1), ".");
    EXPECT_EQ(firing("WriteData return=-5", 1), ".");
    EXPECT_EQ(firing("VemraPKICryptoReadData return=-5", 1), "x");
    EXPECT_EQ(firing("* return=-5", 1), "x");
}

TEST(softtoken_fault_text, calls_of_other_slots_are_not_counted) {
    const std::vector<int> slots{8130, 8131, 8130, 8130, 8131, 8130, 8131, 8131};
    EXPECT_EQ(firing("ReadData slot=8131 call=3 return=-5", slots), "......x.");
    EXPECT_EQ(firing("ReadData slot=8131 call=3 return=-5 lasting", slots), "......xx");
    EXPECT_EQ(firing("ReadData call=3 return=-5", slots), "..x.....");
}

TEST(softtoken_fault_text, chance_is_used_at_its_rate) {
    std::string fired = firing("ReadData chance=0.3 seed=4 return=-5 lasting", 1000);
    EXPECT_EQ(std::count(fired.begin(), fired.end(), 'x'), 305);
}

TEST(softtoken_fault_text, transient_fault_with_a_chance_fires_at_the_first_call_drawn) {
    std::string lasting = firing("ReadData chance=0.1 seed=4 return=-5 lasting", 50);
    std::string once(lasting.size(), '.');
    once.at(lasting.find('x')) = 'x';
    EXPECT_GT(lasting.find('x'), 0U);
    EXPECT_EQ(firing("ReadData chance=0.1 seed=4 return=-5", 50), once);
}

TEST(softtoken_fault_text, chance_is_drawn_from_the_call_on_that_is_counted) {
    EXPECT_EQ(firing("ReadData call=4 chance=1 return=-5 lasting", 6), "...xxx");
    EXPECT_EQ(firing("ReadData call=4 chance=0.3 seed=4 return=-5 lasting", 53),
              "..." + firing("ReadData chance=0.3 seed=4 return=-5 lasting", 50));
}

TEST(softtoken_fault_text, chance_is_drawn_from_the_seed) {
    std::string once = firing("ReadData chance=0.3 seed=4 return=-5 lasting", 50);
    EXPECT_EQ(once, firing("ReadData chance=0.3 seed=4 return=-5 lasting", 50));
    EXPECT_NE(once, firing("ReadData chance=0.3 seed=5 return=-5 lasting", 50));
    EXPECT_EQ(firing("ReadData chance=0 return=-5 lasting", 9), ".........");
    EXPECT_EQ(firing("ReadData chance=1 return=-5 lasting", 9), "xxxxxxxxx");
}

TEST(softtoken_fault_text, several_are_separated_by_semicolons_or_line_ends) {
    EXPECT_EQ(parse_faults("ReadData null; WriteData unplug\n\nNewHash delay=5;").size(), 3U);
    EXPECT_TRUE(parse_faults("").empty());
}

TEST(softtoken_fault_text, faults_of_one_call_act_in_their_order) {
    fault_plan plan(parse_faults("NewHash delay=1 lasting; * delay=2 lasting; NewHash null"));
    EXPECT_EQ(at_one_call(plan, "NewHash"),
              "NewHash delay=1 lasting, * delay=2 lasting, NewHash null");
    EXPECT_EQ(at_one_call(plan, "NewHash"), "NewHash delay=1 lasting, * delay=2 lasting");
}

TEST(softtoken_fault_text, fault_behind_an_answered_call_waits_for_the_next) {
    fault_plan plan(parse_faults("NewHash return=-1; NewHash return=-2; NewHash call=3 delay=3"));
    EXPECT_EQ(at_one_call(plan, "NewHash"), "NewHash return=-1");
    EXPECT_EQ(at_one_call(plan, "NewHash"), "NewHash return=-2");
    EXPECT_EQ(at_one_call(plan, "NewHash"), "NewHash call=3 delay=3");
    EXPECT_EQ(at_one_call(plan, "NewHash"), "");
}

TEST(softtoken_fault_text, pulling_out_waits_for_a_call_with_a_token) {
    fault_plan plan(parse_faults("* unplug"));
    EXPECT_EQ(at_one_call(plan, "GetAllDevices", false), "");
    EXPECT_EQ(at_one_call(plan, "GetType"), "* unplug");
}

TEST(softtoken_fault_text, words_are_kept_one_space_apart) {
    EXPECT_EQ(parse_fault("  ReadData\n slot=3\t\r\nnull ").text, "ReadData slot=3 null");
}

TEST(softtoken_fault_text, wrong_text_is_refused_with_the_reason) {
    const std::pair<const char*, const char*> wrong[] = {
        {"", "no such function, or one that cannot fail"},
        {"Fly null", "no such function, or one that cannot fail"},
        {"FreeDevice null", "no such function, or one that cannot fail"},
        {"GetLastError null", "no such function, or one that cannot fail"},
        {"ReadData", "it needs one action"},
        {"ReadData null unplug", "it needs one action"},
        {"ReadData slot=x null", "bad number in slot=x"},
        {"ReadData slot=-1 null", "slots are numbered from 0"},
        {"GetType slot=1 null", "GetType names no slot"},
        {"ReadData call=0 null", "calls are counted from 1"},
        {"ReadData call=1 call=2 null", "call is said twice"},
        {"ReadData return=1 return=2", "return is said twice"},
        {"ReadData chance=2 null", "a chance lies between 0 and 1"},
        {"ReadData chance=-0.1 null", "a chance lies between 0 and 1"},
        {"ReadData chance=nan null", "a chance lies between 0 and 1"},
        {"ReadData seed=1 null", "a seed needs a chance"},
        {"ReadData torn=4", "only WriteData can be torn"},
        {"WriteData torn=-1", "negative number"},
        {"ReadData delay=-1", "negative number"},
        {"ReadData return=", "bad number in return="},
        {"ReadData return", "bad number in return"},
        {"ReadData return=99999999999", "bad number in return=99999999999"},
        {"ReadData die=later", "unknown word die=later"},
        {"ReadData null often", "unknown word often"},
        {"HashUpdate unplug", "HashUpdate has no token that could be pulled out"},
    };
    for (const auto& [text, reason] : wrong) {
        std::string expected = std::string("fault \"") + text + "\": " + reason + "; it reads F";
        EXPECT_EQ(refusal(text).substr(0, expected.size()), expected);
    }
}

TEST(softtoken_fault_text, token_has_no_fault_in_a_function_that_does_not_ask_it) {
    for (const char* text : {"HashUpdate null", "GetAllDevices null", "DupDevice null"}) {
        EXPECT_EQ(refusal(text), "");
        EXPECT_NE(refusal(text, parse_token_fault).find("would never fire"), std::string::npos);
    }
    for (const char* text : {"NewHash null", "ReadData null", "* null"})
        EXPECT_EQ(refusal(text, parse_token_fault), "");
}
