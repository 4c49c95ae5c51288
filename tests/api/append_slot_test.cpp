// Which slot an append takes.

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

}  // namespace
