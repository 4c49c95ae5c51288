// What becomes of a name with the separators of the mapping in it, and what it does to others. "A"
// lies in slot 8130, "C" in 8132; a new stamp goes to 8131.

#include "api/api_test.h"

namespace {

class names : public api_test {
protected:
    void SetUp() override {
        fake.add_device("SN-1", 3);
        begin();
    }

    void begin() {
        for (const int slot : {8131, 8133, 8134})
            fake.empty_slot("SN-1", slot);
        fake.fill_slot(8127, mapping_record("A&8130||C&8132"));
        fake.fill_slot(8130, "bytes of 8130");
        fake.fill_slot(8132, "bytes of 8132");
    }

    int append(std::string name) {
        const stdout_capture unseen;
        const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
        return VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record);
    }

    int update(unsigned int index, std::string name) {
        const std::string uuid = uuid_of(index);
        const stdout_capture unseen;
        const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
        return VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, &record);
    }

    /** Every stamp of a new listing as "NAME: BYTES". */
    static text_lines listed() {
        const stdout_capture unseen;
        const listed_stamps all;
        text_lines stamps;
        for (unsigned int i = 0; i < all.count(); ++i) {
            const taken_stamp stamp(all.set, i);
            stamps.push_back(std::string(stamp.record->name, stamp.record->name_length) + ": ");
            if (stamp.record->data == nullptr) stamps.back() += "none";
            for (unsigned long long at = 0; at < stamp.record->data_length; ++at)
                stamps.back() += static_cast<char>(stamp.record->data[at]);
        }
        return stamps;
    }

    /** "A" and "C" as they were, and between them the new stamp if it is listed. */
    static text_lines beside(const std::string& name) {
        if (name.empty()) return {"A: bytes of 8130", "C: bytes of 8132"};
        return {"A: bytes of 8130", name + ": new bytes", "C: bytes of 8132"};
    }

    void expect_listed(const std::string& name, const text_lines& expected) {
        begin();
        EXPECT_EQ(append(name), 1);
        EXPECT_EQ(fake.slot(8131), "new bytes") << name;
        EXPECT_EQ(listed(), expected) << name;
    }

    std::string data = "new bytes";
};

TEST_F(names, without_separators_survive_whatever_else_is_in_them) {
    for (const std::string& name :
         {std::string("|"), std::string("|x"), std::string("x|"), std::string("|a|b|"),
          std::string("8130"), std::string("-8130"), std::string(" "), std::string("two\nlines"),
          std::string("\x1b[31mred"), std::string("no \xff\xc3 UTF-8"), std::string("a\0b", 3)}) {
        expect_listed(name, beside(name));
    }
}

TEST_F(names, with_double_bars_are_listed_under_what_stands_behind_the_last_pair) {
    expect_listed("A||B", beside("B"));
    expect_listed("x||y", beside("y"));
    expect_listed("||B", beside("B"));
    expect_listed("A||B||C", beside("C"));
    // Pairs are taken from the left: of three bars the third belongs to what follows.
    expect_listed("A|||B", beside("|B"));
    expect_listed("A|||||B", beside("|B"));
}

TEST_F(names, with_ampersands_around_one_piece_are_listed_under_the_piece) {
    expect_listed("B&", beside("B"));
    expect_listed("&B", beside("B"));
    expect_listed("&&B&&", beside("B"));
    expect_listed("x||&B", beside("B"));
}

TEST_F(names, of_separators_alone_behind_the_last_pair_vanish) {
    for (const char* name : {"&", "&&", "||", "|||&", "B||", "B||&", "x&y||"}) {
        expect_listed(name, name == std::string("|||&") ? beside("|") : beside(""));
    }
}

TEST_F(names, with_text_on_both_sides_of_an_ampersand_vanish) {
    for (const char* name : {"B&C", "x&y", "R & D", "a&b&c", "x||B&C"}) {
        expect_listed(name, beside(""));
    }
}

TEST_F(names, with_the_number_of_a_lower_listed_slot_rename_its_stamp_and_lose_their_own) {
    const text_lines renamed{"X: bytes of 8130", "C: bytes of 8132"};
    for (const char* name : {"X&8130", "X&&8130", "&X&8130", "X&8130&more", "X&08130", "z||X&8130"})
        expect_listed(name, renamed);
}

TEST_F(names, with_a_number_of_other_digits_reach_a_slot_too) {
    const text_lines renamed{"X: bytes of 8130", "C: bytes of 8132"};
    // 2^32 + 8130; ":" counts 10; a leading "-" counts as the digit -3 and subtracts.
    for (const char* name : {"X&4294975426", "X&812:", "X&-4230188094"})
        expect_listed(name, renamed);
}

TEST_F(names, with_the_number_of_a_higher_listed_slot_lose_their_own_stamp_alone) {
    expect_listed("X&8132", beside(""));
}

TEST_F(names, with_the_number_of_a_free_slot_list_a_phantom) {
    expect_listed("X&8133", {"A: bytes of 8130", "C: bytes of 8132", "X: none"});
    begin();
    fake.fill_slot(8134, "stray");
    EXPECT_EQ(append("X&8134"), 1);
    EXPECT_EQ(listed(), (text_lines{"A: bytes of 8130", "C: bytes of 8132", "X: stray"}));
}

TEST_F(names, with_the_number_of_their_own_slot_are_cut_short) {
    expect_listed("X&8131", beside("X"));
}

TEST_F(names, with_a_number_that_is_no_slot_of_stamps_vanish) {
    for (const char* name : {"X&8127", "X&8129", "X&8135", "X&0", "X&-1"})
        expect_listed(name, beside(""));
}

TEST_F(names, with_several_separators_do_all_of_it_at_once) {
    expect_listed("X&8130||P&8133||R&||B",
                  {"X: bytes of 8130", "B: new bytes", "C: bytes of 8132", "P: none"});
}

TEST_F(names, that_rename_or_list_a_phantom_do_so_without_an_error_line) {
    append("X&8130");
    append("P&8133");
    const stdout_capture captured;
    EXPECT_EQ(listed_stamps().count(), 3U);
    EXPECT_EQ(captured.error_lines(), text_lines{});
}

TEST_F(names, that_were_lost_leave_a_slot_that_the_next_append_overwrites) {
    for (const char* name : {"B&C", "&", "X&8130", "X&8133"}) {
        begin();
        append(name);
        data = "next bytes";
        EXPECT_EQ(append("next"), 1);
        EXPECT_EQ(fake.slot(8131), "next bytes") << name;
        data = "new bytes";
    }
}

TEST_F(names, that_renamed_another_stamp_do_so_for_good) {
    append("X&8130");
    append("next");
    EXPECT_EQ(fake.slot(8127), mapping_record("X&8130||next&8131||C&8132"));
}

TEST_F(names, of_phantoms_take_a_slot_until_they_are_deleted) {
    append("X&8133");
    EXPECT_EQ(append("B"), 1);
    EXPECT_EQ(append("E"), 1);
    EXPECT_EQ(append("F"), -7);
    const std::string phantom = uuid_of(3);
    {
        const stdout_capture unseen;
        EXPECT_EQ(VemraAppStampDeleteStamp(bytes_of(phantom), 8, nullptr), 1);
    }
    EXPECT_EQ(append("F"), 1);
    EXPECT_EQ(listed_names(), (text_lines{"A", "B", "C", "F", "E"}));
}

TEST_F(names, do_the_same_when_a_stamp_is_updated) {
    EXPECT_EQ(update(1, "X&8130"), 1);
    EXPECT_EQ(listed(), text_lines{"X: bytes of 8130"});
    begin();
    EXPECT_EQ(update(0, "X&8132"), 1);
    EXPECT_EQ(listed(), text_lines{"C: bytes of 8132"});
    begin();
    EXPECT_EQ(update(0, "x||y"), 1);
    EXPECT_EQ(listed(), (text_lines{"y: new bytes", "C: bytes of 8132"}));
}

/** Calls the work with every text of 1 to 5 of these characters. */
template <typename Work>
void for_all_texts(const std::string& characters, Work work) {
    text_lines texts{""};
    for (std::size_t at = 0; at < texts.size(); ++at) {
        if (!texts[at].empty()) work(texts[at]);
        if (texts[at].size() == 5) continue;
        for (const char one : characters)
            texts.push_back(texts[at] + one);
    }
}

TEST_F(names, come_back_whole_exactly_when_they_hold_neither_separator) {
    int survivors = 0;
    for_all_texts("B&|", [&](const std::string& name) {
        begin();
        ASSERT_EQ(append(name), 1);
        const bool has_separator =
            name.find('&') != std::string::npos || name.find("||") != std::string::npos;
        const bool has_survived = listed() == beside(name);
        EXPECT_EQ(has_survived, !has_separator) << name;
        survivors += has_survived ? 1 : 0;
    });
    EXPECT_GT(survivors, 20);
}

TEST_F(names, without_a_number_behind_an_ampersand_touch_no_other_stamp) {
    for_all_texts("B&|", [&](const std::string& name) {
        begin();
        ASSERT_EQ(append(name), 1);
        const text_lines stamps = listed();
        EXPECT_EQ(stamps.front(), "A: bytes of 8130") << name;
        EXPECT_EQ(stamps.back(), "C: bytes of 8132") << name;
        EXPECT_LE(stamps.size(), 3U) << name;
    });
}

}  // namespace
