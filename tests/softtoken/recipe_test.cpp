#include <chrono>

#include "token_fixture.h"

using namespace softtoken_test;

// Each named fault as an application of the stamp library meets it, in processes of its own.
class softtoken_recipe : public token_test {
protected:
    softtoken_recipe() {
        make_token("one");
        append("first", 'a');
    }

    static program_result client(const std::string& arguments) {
        return run(SOFTTOKEN_TOOL " exec -- " STAMP_CLIENT " " + arguments);
    }
    // Stores 400 bytes of one letter.
    static program_result append(const std::string& name, char letter) {
        return client("append SN-one 1 '" + std::string(password) + "' " + name + " 400 " + letter);
    }
    static bool lists(const std::string& stamps) {
        return client("list").output.find("list:" + stamps + "\n") != std::string::npos;
    }
    static void use(const std::string& recipe) {
        program_result result = run_tool("fault add one --recipe " + recipe);
        ASSERT_EQ(result.status, 0) << result.output;
    }
    static void clear() { run_tool("fault clear one"); }
    static bool says(const program_result& result, const std::string& text) {
        return result.output.find(text) != std::string::npos;
    }
    static constexpr const char* first_only = " first 400 a";
    static constexpr const char* both = " first 400 a second 400 b";
};

TEST_F(softtoken_recipe, locked) {
    use("locked");
    program_result result = append("second", 'b');
    EXPECT_TRUE(says(result, "append: 0")) << result.output;
    EXPECT_TRUE(says(result, "device locked(-107"));
    EXPECT_TRUE(lists(first_only));
    clear();
    EXPECT_TRUE(says(append("second", 'b'), "append: 1"));
}

TEST_F(softtoken_recipe, full) {
    use("full");
    program_result result = append("second", 'b');
    EXPECT_TRUE(says(result, "append: 0")) << result.output;
    EXPECT_TRUE(says(result, "device full(-111"));
    EXPECT_TRUE(lists(first_only));
}

TEST_F(softtoken_recipe, slow) {
    use("slow");
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(says(append("second", 'b'), "append: 1"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    clear();
    EXPECT_TRUE(lists(both));
}

TEST_F(softtoken_recipe, pulled_out) {
    use("pulled-out");
    program_result result = append("second", 'b');
    EXPECT_TRUE(says(result, "append: 0")) << result.output;
    EXPECT_TRUE(says(result, "device removed(-104"));
    EXPECT_EQ(attached_count(), 0);
    attach("one");
    EXPECT_TRUE(lists(first_only));
}

TEST_F(softtoken_recipe, wrong_answer_once) {
    use("wrong-answer-once");
    program_result result = append("second", 'b');
    EXPECT_TRUE(says(result, "append: 0")) << result.output;
    EXPECT_TRUE(says(result, "Unable to get stamp info from 8127, because: storage failed(-122"));
    EXPECT_TRUE(says(append("second", 'b'), "append: 1"));
    EXPECT_TRUE(lists(both));
}

TEST_F(softtoken_recipe, loose_contact) {
    use("loose-contact");
    std::string output = client("list 30").output;
    std::size_t whole = 0;
    std::string line = std::string("list:") + first_only + "\n";
    for (std::size_t at = 0; (at = output.find(line, at)) != std::string::npos; ++at)
        ++whole;
    EXPECT_GT(whole, 0U);
    EXPECT_LT(whole, 30U);
    clear();
    EXPECT_TRUE(lists(first_only));
}

TEST_F(softtoken_recipe, power_cut) {
    use("power-cut");
    EXPECT_EQ(append("second", 'b').status, 128 + 9);
    EXPECT_TRUE(lists(first_only));
    EXPECT_TRUE(says(append("second", 'b'), "append: 1"));
    EXPECT_TRUE(lists(both));
}

TEST_F(softtoken_recipe, torn_write) {
    use("torn-write");
    EXPECT_EQ(append("second", 'b').status, 128 + 9);
    EXPECT_EQ(slot_bytes(device_at().get(), 8131), std::string(100, 'b') + std::string(300, '\0'));
    EXPECT_TRUE(lists(first_only));
    EXPECT_TRUE(says(append("second", 'b'), "append: 1"));
    EXPECT_TRUE(lists(both));
}

TEST_F(softtoken_recipe, worn_out) {
    use("worn-out");
    program_result result = append("second", 'b');
    EXPECT_TRUE(says(result, "append: 0")) << result.output;
    EXPECT_TRUE(says(result, "storage failed(-122"));
    EXPECT_TRUE(lists(first_only));
}

TEST_F(softtoken_recipe, no_hash) {
    use("no-hash");
    program_result result = client("list");
    EXPECT_TRUE(says(result, "Unable to generate uuid of stamp.")) << result.output;
    clear();
    EXPECT_TRUE(lists(first_only));
}
