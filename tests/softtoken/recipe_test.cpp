#include <algorithm>
#include <chrono>
#include <map>
#include <regex>
#include <vector>

#include "store/slot_table.h"
#include "token_fixture.h"

using namespace softtoken_test;

namespace {

using slot_map = std::map<int, std::string>;

// A call that asked something of the token, as the trace tells it.
struct asked_call {
    int bytes;
    std::string result;
    std::chrono::microseconds time;
};

std::vector<asked_call> asked_calls(const std::string& trace) {
    const std::regex asks(
        "VemraPKICrypto(Get(Type|SerialNumber|KeypairCount|DataLength)|VerifyPwd|NewHash|"
        "(Create|Read|Write|Delete)Data) slot=\\S+ size=(\\S+) length=\\S+ result=(\\S+) "
        "microseconds=(\\d+)\n");
    std::vector<asked_call> calls;
    for (std::sregex_iterator at(trace.begin(), trace.end(), asks), end; at != end; ++at) {
        int bytes = at->str(4) == "-" ? 0 : std::stoi(at->str(4));
        calls.push_back({bytes, at->str(5), std::chrono::microseconds(std::stol(at->str(6)))});
    }
    return calls;
}

std::size_t count_of(const std::string& line, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos; at += line.size())
        ++count;
    return count;
}

}  // namespace

// An application of the stamp library, in processes of its own.
class softtoken_application : public token_test {
protected:
    softtoken_application() {
        make_token("one");
        append("first", 'a');
        before_ = slots();
    }

    static program_result client(const std::string& arguments,
                                 const std::string& environment = "") {
        return run(environment + " " SOFTTOKEN_TOOL " exec -- " STAMP_CLIENT " " + arguments);
    }
    // Stores 400 bytes of one letter.
    static program_result append(const std::string& name, char letter,
                                 const std::string& environment = "") {
        return client("append SN-one 1 '" + std::string(password) + "' " + name + " 400 " + letter,
                      environment);
    }
    // What the client tells of the stamps, without the library's own lines.
    static std::string listing(int times, const std::string& environment = "") {
        return client("list " + std::to_string(times) + " >/dev/null", environment).output;
    }
    static bool lists(const std::string& stamps) { return listing(1) == "list:" + stamps + "\n"; }
    static bool says(const program_result& result, const std::string& text) {
        return result.output.find(text) != std::string::npos;
    }
    std::string trace_file() const { return root() + "/.trace"; }
    std::string traced() const { return "VEMRA_SOFTTOKEN_TRACE=" + trace_file(); }
    std::vector<asked_call> calls() const { return asked_calls(file_bytes(trace_file())); }

    // All slots of the token, beside the device functions and their faults.
    slot_map slots() const {
        vemra::softtoken::token_database database(directory("one") + "/token.db");
        vemra::softtoken::slot_table table(database.connection());
        slot_map all;
        for (const auto& slot : table.list()) {
            std::string bytes(static_cast<std::size_t>(slot.length), '\0');
            table.read(slot.id, reinterpret_cast<unsigned char*>(bytes.data()), slot.length);
            all[slot.id] = bytes;
        }
        return all;
    }
    // The slots before, and another one.
    slot_map before_and(int slot, const std::string& bytes) const {
        slot_map all = before_;
        all[slot] = bytes;
        return all;
    }
    void expect_both_stamps() const {
        EXPECT_TRUE(lists(both));
        slot_map all = before_and(8131, std::string(400, 'b'));
        all[8127] = slots()[8127];
        EXPECT_EQ(slots(), all);
    }
    void expect_that_appending_works() const {
        EXPECT_TRUE(lists(first_only));
        EXPECT_TRUE(says(append("second", 'b'), "append: 1"));
        expect_both_stamps();
    }

    static constexpr const char* first_only = " first 400*a";
    static constexpr const char* both = " first 400*a second 400*b";
    slot_map before_;
};

// Each named fault.
class softtoken_recipe : public softtoken_application {
protected:
    static void use(const std::string& recipe) {
        program_result result = run_tool("fault add one --recipe " + recipe);
        ASSERT_EQ(result.status, 0) << result.output;
    }
    static void clear() { run_tool("fault clear one"); }
    /** Appends under the fault; the library tells the reason, and these slots are left. */
    void expect_refusal(const std::string& recipe, const std::string& reason,
                        const slot_map& left) {
        use(recipe);
        program_result result = append("second", 'b');
        EXPECT_TRUE(says(result, "append: 0")) << result.output;
        EXPECT_TRUE(says(result, reason)) << result.output;
        EXPECT_EQ(slots(), left);
    }
};

TEST_F(softtoken_recipe, locked_refuses_a_stamp_and_changes_no_slot) {
    expect_refusal("locked", "device locked(-107", before_);
    clear();
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, full_refuses_a_stamp_and_changes_no_slot) {
    expect_refusal("full", "device full(-111", before_);
    EXPECT_TRUE(lists(first_only));
    clear();
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, slow_delays_every_call_and_changes_nothing_else) {
    use("slow");
    EXPECT_TRUE(says(append("second", 'b', traced()), "append: 1"));
    EXPECT_GE(calls().size(), 10U);
    for (const asked_call& call : calls())
        EXPECT_GE(call.time, std::chrono::milliseconds(50));
    clear();
    expect_both_stamps();
}

TEST_F(softtoken_recipe, pulled_out_leaves_an_unwritten_slot_and_works_once_plugged_in) {
    expect_refusal("pulled-out", "device removed(-104", before_and(8131, std::string(400, '\0')));
    EXPECT_EQ(attached_count(), 0);
    attach("one");
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, wrong_answer_once_fails_one_append_alone) {
    expect_refusal("wrong-answer-once",
                   "Unable to get stamp info from 8127, because: storage failed(-122", before_);
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, loose_contact_gives_a_whole_listing_or_none) {
    use("loose-contact");
    const std::string output = listing(30);
    const std::string whole = std::string("list:") + first_only + "\n";
    EXPECT_GT(count_of(whole, output), 0U);
    EXPECT_GT(count_of("list:\n", output), 0U);
    EXPECT_EQ(count_of(whole, output) + count_of("list:\n", output), 30U) << output;
}

TEST_F(softtoken_recipe, loose_contact_fails_about_one_call_in_twenty) {
    use("loose-contact");
    listing(30, traced());
    const std::vector<asked_call> asked = calls();
    auto failed = std::count_if(asked.begin(), asked.end(), [](const asked_call& call) {
        return call.result == std::to_string(removed);
    });
    auto all = static_cast<std::ptrdiff_t>(asked.size());
    EXPECT_GT(failed, all / 40);
    EXPECT_LT(failed, all / 10);
}

TEST_F(softtoken_recipe, loose_contact_fails_the_same_calls_each_time) {
    use("loose-contact");
    const std::string output = listing(30);
    EXPECT_EQ(listing(30), output);
}

TEST_F(softtoken_recipe, loose_contact_changes_no_slot) {
    use("loose-contact");
    listing(30);
    EXPECT_EQ(slots(), before_);
    clear();
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, power_cut_leaves_an_unwritten_slot) {
    use("power-cut");
    EXPECT_EQ(append("second", 'b').status, 128 + 9);
    EXPECT_EQ(slots(), before_and(8131, std::string(400, '\0')));
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, torn_write_leaves_the_first_100_bytes) {
    use("torn-write");
    EXPECT_EQ(append("second", 'b').status, 128 + 9);
    EXPECT_EQ(slots(), before_and(8131, std::string(100, 'b') + std::string(300, '\0')));
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, worn_out_refuses_a_stamp_and_leaves_its_slot_empty) {
    expect_refusal("worn-out", "storage failed(-122", before_and(8131, ""));
    EXPECT_TRUE(lists(first_only));
    clear();
    expect_that_appending_works();
}

TEST_F(softtoken_recipe, no_hash_leaves_a_stamp_without_uuid) {
    use("no-hash");
    program_result result = client("list");
    EXPECT_TRUE(says(result, "Unable to generate uuid of stamp.")) << result.output;
    EXPECT_EQ(slots(), before_);
    clear();
    expect_that_appending_works();
}

TEST_F(softtoken_application, takes_the_time_that_the_slow_profile_says) {
    ASSERT_EQ(run_tool("profile one --profile slow").status, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(says(append("second", 'b', traced()), "append: 1"));
    auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(calls().size(), 10U);
    std::chrono::microseconds told{0};
    int bytes = 0;
    for (const asked_call& call : calls()) {
        std::chrono::microseconds at_least(20000 + call.bytes * 1000000LL / 40960);
        EXPECT_GE(call.time, at_least);
        told += at_least;
        bytes += call.bytes;
    }
    EXPECT_GE(bytes, 800) << "the bytes of a slot's making and of its writing";
    EXPECT_GE(taken, told);
    expect_both_stamps();
}

TEST_F(softtoken_application, each_process_meets_the_faults_of_the_environment_it_inherits) {
    program_result result =
        run("VEMRA_SOFTTOKEN_FAULTS='GetAllDevices null' " SOFTTOKEN_TOOL
            " exec -- sh -c '" STAMP_CLIENT " list 2; " STAMP_CLIENT " list 2' >/dev/null");
    const std::string listings = std::string("list:\nlist:") + first_only + "\n";
    EXPECT_EQ(result.output, listings + listings);
}
