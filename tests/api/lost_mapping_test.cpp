// A device that fails while slot 8127 is rewritten, and does not let the old record be put back:
// pulled out between deleting and creating the slot, for example.

#include "api/api_test.h"

namespace {

class lost_mapping : public api_test {
protected:
    void SetUp() override {
        add_device_with("A&8130||B&8131");
        fake.fill_slot(8130, "bytes of A");
        fake.fill_slot(8131, "bytes of B");
        uuids = {uuid_of(0), uuid_of(1)};
    }

    /** From the nth creation of a slot on none succeeds while the work runs. */
    template <typename Work>
    void lose_at_creation(int nth, Work work) {
        fake.fail_function("VemraPKICryptoCreateData", nth,
                           fault::failing(fake_device_library::removed).lasting());
        const stdout_capture unseen;
        EXPECT_EQ(work(), 0);
        fake.clear_faults();
        EXPECT_EQ(fake.slot(8127), std::nullopt);
    }
    void lose_by_an_append() {
        lose_at_creation(2, [this] { return append(); });
    }
    void lose_by_an_update() {
        lose_at_creation(2, [this] { return update(0, "New", "new bytes"); });
    }
    void lose_by_a_delete() {
        lose_at_creation(
            1, [this] { return VemraAppStampDeleteStamp(bytes_of(uuids[0]), 8, nullptr); });
    }

    int append() {
        std::string name = "New";
        std::string data = "new bytes";
        const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
        return VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record);
    }
    int update(std::size_t index, std::string name, std::string data) {
        const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
        return VemraAppStampUpdateStamp(bytes_of(uuids[index]), 8, nullptr, &record);
    }
    int append_quietly() {
        const stdout_capture unseen;
        return append();
    }

    text_lines uuids;
};

TEST_F(lost_mapping, after_an_append_lists_nothing_while_all_pictures_are_there) {
    lose_by_an_append();
    EXPECT_EQ(listed_names(), text_lines{});
    EXPECT_EQ(fake.slots("SN-1"),
              (std::map<int, std::string>{
                  {8130, "bytes of A"}, {8131, "bytes of B"}, {8132, "new bytes"}}));
}

TEST_F(lost_mapping, after_an_update_lists_nothing_while_the_new_picture_is_there) {
    lose_by_an_update();
    EXPECT_EQ(listed_names(), text_lines{});
    EXPECT_EQ(fake.slots("SN-1"),
              (std::map<int, std::string>{{8130, "new bytes"}, {8131, "bytes of B"}}));
}

TEST_F(lost_mapping, after_a_delete_lists_nothing_while_the_picture_is_there) {
    lose_by_a_delete();
    EXPECT_EQ(listed_names(), text_lines{});
    EXPECT_EQ(fake.slots("SN-1"),
              (std::map<int, std::string>{{8130, "bytes of A"}, {8131, "bytes of B"}}));
}

TEST_F(lost_mapping, lets_the_next_append_overwrite_the_stamp_in_8130) {
    lose_by_an_append();
    EXPECT_EQ(append_quietly(), 1);
    EXPECT_EQ(fake.slot(8130), "new bytes");
    EXPECT_EQ(listed_names(), text_lines{"New"});
}

TEST_F(lost_mapping, is_rebuilt_by_updates_of_every_uuid_with_bytes_and_name_saved_before) {
    lose_by_a_delete();
    {
        const stdout_capture unseen;
        EXPECT_EQ(update(0, "A", "bytes of A"), 1);
        EXPECT_EQ(update(1, "B", "bytes of B"), 1);
    }
    EXPECT_EQ(listed_names(), (text_lines{"A", "B"}));
    EXPECT_EQ(append_quietly(), 1);
    EXPECT_EQ(fake.slots("SN-1"),
              (std::map<int, std::string>{{8127, mapping_record("A&8130||B&8131||New&8132")},
                                          {8130, "bytes of A"},
                                          {8131, "bytes of B"},
                                          {8132, "new bytes"}}));
}

TEST_F(lost_mapping, is_rebuilt_by_appends_of_all_that_was_saved_before_in_its_order) {
    lose_by_an_append();
    const stdout_capture unseen;
    for (const char* one : {"A", "B"}) {
        std::string name = one;
        std::string data = "bytes of " + name;
        const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
        EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record), 1);
    }
    EXPECT_EQ(fake.slot(8127), mapping_record("A&8130||B&8131"));
    EXPECT_EQ(fake.slot(8130), "bytes of A");
    EXPECT_EQ(fake.slot(8131), "bytes of B");
}

TEST_F(lost_mapping, is_told_by_the_same_status_as_one_that_was_put_back) {
    fake.fail_function("VemraPKICryptoCreateData", 2);
    EXPECT_EQ(append_quietly(), 0);
    EXPECT_EQ(fake.slot(8127), mapping_record("A&8130||B&8131"));
    EXPECT_EQ(listed_names(), (text_lines{"A", "B"}));
}

TEST_F(lost_mapping, is_not_alone_a_picture_that_cannot_be_put_back_is_gone_too) {
    fake.fail_function("VemraPKICryptoCreateData", 1,
                       fault::failing(fake_device_library::removed).lasting());
    {
        const stdout_capture unseen;
        EXPECT_EQ(update(0, "New", "new bytes"), 0);
    }
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(fake.slot(8127), mapping_record("A&8130||B&8131"));
}

}  // namespace
