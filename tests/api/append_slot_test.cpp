// Which slot an append takes.

#include <map>
#include <random>

#include "api/api_test.h"

namespace {

class append_slot : public api_test {
protected:
    int append_named(const std::string& text) {
        std::string name = text;
        std::string data = "bytes of " + text;
        const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
        const stdout_capture unseen;
        return VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record);
    }

    /** Appends and tells the first slot that was written. */
    std::string slot_of_append() {
        fake.clear_calls();
        if (append_named("New") != 1) return "none";
        return fake.calls_of("VemraPKICryptoWriteData").front().substr(30, 4);
    }

    void use_mapping(const std::string& body) {
        fake = fake_device_library();
        fake.add_device("SN-1", 3);
        fake.fill_slot(8127, mapping_record(body));
    }
};

TEST_F(append_slot, five_appends_fill_the_slots_in_order_and_the_sixth_is_minus_7) {
    fake.add_device("SN-1", 3);
    for (int i = 0; i < 5; ++i) {
        const std::string name = "Seal " + std::to_string(i);
        EXPECT_EQ(append_named(name), 1);
        EXPECT_EQ(fake.slot(8130 + i), "bytes of " + name);
    }
    EXPECT_EQ(fake.slot(8127),
              mapping_record("Seal 0&8130||Seal 1&8131||Seal 2&8132||Seal 3&8133||Seal 4&8134"));
    EXPECT_EQ(append_named("Sixth"), -7);
    EXPECT_EQ(listed_names(), (text_lines{"Seal 0", "Seal 1", "Seal 2", "Seal 3", "Seal 4"}));
}

TEST_F(append_slot, a_full_device_is_minus_7_with_its_line_and_nothing_is_written) {
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, mapping_record("A&8130||B&8131||C&8132||D&8133||E&8134"));
    std::string name = "Seal";
    std::string data = "hello";
    const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record), -7);
    EXPECT_EQ(VemraAppStampGetLastError(), -7);
    EXPECT_EQ(captured.error_lines(),
              text_lines{" [ERROR]    [VemraAppStampAppendStamp] No more storage space to store "
                         "the stamp, storage from 8130 to 8134 are all occupied. "
                         "(src/core/VEMRA_APP_STAMP.cpp:N)"});
    EXPECT_EQ(fake.calls(),
              text_lines(expected_calls().enumerate().serial().type().get(8127, 43).free_device()));
}

TEST_F(append_slot, is_the_lowest_that_the_mapping_does_not_list) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "8130"},
        {"A&8130", "8131"},
        {"A&8131", "8130"},
        {"A&8130||B&8132", "8131"},
        {"A&8130||B&8131||C&8132||D&8133", "8134"},
        {"A&8130||B&8131||D&8133||E&8134", "8132"},
        {"A&8134", "8130"},
        {"A&7||B&8129||C&9000", "8130"},
        {"A&9000||B&8130", "8131"},
        {"A&4294967295||B&8130||C&8131", "8132"},
    };
    for (const auto& [body, slot] : rows) {
        use_mapping(body);
        EXPECT_EQ(slot_of_append(), slot) << body;
    }
}

TEST_F(append_slot, does_not_depend_on_the_order_of_the_record) {
    // A walk in this order would take 8130 for free and overwrite A.
    for (const char* body :
         {"B&8131||A&8130", "E&8134||A&8130||B&8131", "B&8131||E&8134||A&8130"}) {
        use_mapping(body);
        EXPECT_EQ(slot_of_append(), "8132") << body;
    }
}

TEST_F(append_slot, of_a_mapping_that_is_malformed_is_the_first) {
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, std::string("\x02\0\0\0\x01rest", 9));
    EXPECT_EQ(slot_of_append(), "8130");
    EXPECT_EQ(fake.slot(8127), mapping_record("New&8130"));
}

TEST_F(append_slot, never_holds_a_listed_stamp_in_any_order_of_deletes_and_appends) {
    fake.add_device("SN-1", 3);
    std::mt19937 random(7);
    std::map<std::string, std::string> expected;
    for (int round = 0; round < 300; ++round) {
        if (random() % 2 == 0) {
            const std::string name = "Seal " + std::to_string(round);
            const int status = append_named(name);
            ASSERT_EQ(status, expected.size() < 5 ? 1 : -7);
            if (status == 1) expected[name] = "bytes of " + name;
        } else if (!expected.empty()) {
            const unsigned int index = static_cast<unsigned int>(random() % expected.size());
            const std::string name = listed_names().at(index);
            const std::string uuid = uuid_of(index);
            const stdout_capture unseen;
            ASSERT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 1);
            expected.erase(name);
        }
        const stdout_capture unseen;
        const listed_stamps all;
        ASSERT_EQ(all.count(), expected.size());
        for (unsigned int i = 0; i < all.count(); ++i) {
            const taken_stamp stamp(all.set, i);
            EXPECT_EQ(
                std::string(reinterpret_cast<char*>(stamp.record->data), stamp.record->data_length),
                expected.at(stamp.record->name));
        }
    }
}

}  // namespace
