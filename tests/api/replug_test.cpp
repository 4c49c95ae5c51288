// A device that was listed, pulled out and plugged in again, and whose handles from before are
// dead.

#include <string>

#include "api/api_test.h"

namespace {

class replugged_device : public api_test {
protected:
    void SetUp() override {
        add_device_with("Seal&8130");
        uuid = uuid_of(0);
        fake.unplug_device("SN-1");
        fake.replug_device("SN-1");
    }

    std::string uuid;
    std::string name = "New";
    std::string data = "new bytes";
    VEMRA_APP_STAMP_RECORD record = image_record(name, data);
    const stdout_capture unseen;
};

TEST_F(replugged_device, is_listed_and_its_stamps_are_taken_under_their_uuids) {
    EXPECT_EQ(uuid_of(0), uuid);
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    EXPECT_EQ(stamp.status, 1);
    EXPECT_EQ(stamp.record->data_length, 5U);
}

TEST_F(replugged_device, is_not_told_as_the_owner_after_a_new_listing) {
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    char* serial = nullptr;
    unsigned int length = 0;
    int type = 0;
    EXPECT_EQ(VemraAppStampGetStampOwnDevice(stamp.record, &serial, &length, &type), 0);
}

TEST_F(replugged_device, takes_no_update_and_no_delete_after_a_new_listing) {
    uuid_of(0);
    EXPECT_EQ(VemraAppStampUpdateStamp(bytes_of(uuid), 8, nullptr, &record), 0);
    EXPECT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 0);
    EXPECT_EQ(fake.slot(8130), "hello");
    EXPECT_EQ(fake.slot(8127), mapping_record("Seal&8130"));
}

TEST_F(replugged_device, takes_an_append) {
    EXPECT_EQ(VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record), 1);
    EXPECT_EQ(fake.slot(8131), "new bytes");
}

// The stamp in 8131 was not known before.
TEST_F(replugged_device, takes_updates_of_stamps_that_are_first_listed_after_it_came_back) {
    VemraAppStampAppendStamp("SN-1", 4, 3, nullptr, &record);
    const std::string later = uuid_of(1);
    EXPECT_EQ(VemraAppStampUpdateStamp(bytes_of(later), 8, nullptr, &record), 1);
}

}  // namespace
