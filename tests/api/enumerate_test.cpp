#include <algorithm>

#include "api/api_test.h"

namespace {

const char* const get_all = "VemraAppStampGetAllStamps";

class enumerate : public api_test {
protected:
    /** Lists with a filter and releases the set; the count, -1 without a set. */
    int count(int type, const char* serial = nullptr, unsigned int length = 0,
              int device_type = -1) {
        const stdout_capture unseen;
        const VEMRA_APP_STAMP_SET_HANDLE set =
            VemraAppStampGetAllStamps(type, serial, length, device_type);
        status = VemraAppStampGetLastError();
        if (set == nullptr) return -1;
        unsigned int result = 0;
        VemraAppStampGetStampCount(set, &result);
        VemraAppStampFreeStamps(set);
        return static_cast<int>(result);
    }

    text_lines traced(int type, const char* serial = nullptr, unsigned int length = 0,
                      int device_type = -1) {
        VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
        const text_lines lines =
            trace([&] { set = VemraAppStampGetAllStamps(type, serial, length, device_type); });
        const stdout_capture unseen;
        status = VemraAppStampGetLastError();
        if (set != nullptr) VemraAppStampFreeStamps(set);
        return lines;
    }

    static expected_trace expected(int type = -1, const std::string& serial = "(null)",
                                   int length = 0, int device_type = -1) {
        expected_trace lines(get_all);
        lines.verbose("Input `type`            : " + std::to_string(type));
        lines.verbose("Input `device_sn`       : " + serial);
        lines.verbose("Input `device_sn_length`: " + std::to_string(length));
        lines.verbose("Input `device_type`     : " + std::to_string(device_type));
        return lines;
    }

    /** Two devices with one stamp each: SN-1 of type 3 and SN-2 of type 4. */
    void add_two_devices() {
        add_device_with("Seal&8130");
        fake.add_device("SN-2", 4);
        fake.fill_slot("SN-2", 8127, mapping_record("Other&8131"));
        fake.fill_slot("SN-2", 8131, "world");
    }

    int status = -99;
};

TEST_F(enumerate, one_stamp_is_traced_whole) {
    add_device_with("Seal&8130");
    const std::string uuid = hex_text(uuid_of(0));
    EXPECT_EQ(uuid.size(), 16u);
    EXPECT_EQ(traced(-1), text_lines(expected().verbose("uuid: " + uuid)));
    EXPECT_EQ(status, 1);
}

TEST_F(enumerate, first_listing_makes_exactly_these_device_calls) {
    add_device_with("Seal&8130");
    EXPECT_EQ(count(-1), 1);
    EXPECT_EQ(fake.calls(), text_lines(expected_calls()
                                           .enumerate()
                                           .type()
                                           .serial()
                                           .length(8127)
                                           .get(8127, 14)
                                           .get(8130, 5)
                                           .uuid(8130)));
    EXPECT_EQ(fake.live_devices(), 1);
}

TEST_F(enumerate, second_listing_adds_no_map_entries_and_releases_its_device) {
    add_device_with("Seal&8130");
    count(-1);
    fake.clear_calls();
    const long before = allocation_faults::live_blocks();
    count(-1);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(after, before);
    EXPECT_EQ(fake.calls().back(), "VemraPKICryptoFreeDevice(SN-1)");
    EXPECT_EQ(fake.live_devices(), 1);
}

TEST_F(enumerate, uuid_depends_on_serial_type_and_slot_alone) {
    add_device_with("Seal&8130");
    const std::string uuid = uuid_of(0);
    fake.fill_slot(8127, mapping_record("Renamed&8130"));
    fake.fill_slot(8130, "other bytes");
    EXPECT_EQ(uuid_of(0), uuid);
    fake.answer_type(4);
    EXPECT_NE(uuid_of(0), uuid);
}

TEST_F(enumerate, a_type_that_is_none_is_minus_4_without_device_access) {
    fake.add_device("SN-1", 3);
    for (const int type : {2, -2, 2147483647}) {
        EXPECT_EQ(traced(type), text_lines(expected(type)));
        EXPECT_EQ(status, -4);
        EXPECT_EQ(count(type), -1);
    }
    EXPECT_EQ(fake.calls(), text_lines{});
}

TEST_F(enumerate, an_empty_device_list_is_0_with_its_line) {
    fake.add_device("SN-1", 3);
    for (const int number : {0, -1}) {
        fake.answer_device_count(number);
        EXPECT_EQ(traced(-1), text_lines(expected().error("No device.")));
        EXPECT_EQ(status, 0);
    }
}

TEST_F(enumerate, a_null_device_is_skipped_with_its_line) {
    fake.add_null_device();
    fake.add_device("SN-1", 3);
    EXPECT_EQ(
        traced(-1),
        text_lines(
            expected().error("Bad device pointer.").debug("No image stamp in device: SN-1.")));
    EXPECT_EQ(status, 1);
}

TEST_F(enumerate, an_id_above_the_signed_range_is_skipped_as_a_negative_one) {
    add_device_with("Seal&4294967295");
    EXPECT_EQ(traced(-1),
              text_lines(expected().error("Invalid id of the storage of stamp: -1, skip it.")));
}

TEST_F(enumerate, a_listed_slot_that_does_not_exist_is_a_stamp_without_bytes) {
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, mapping_record("Seal&8131"));
    const stdout_capture unseen;
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    ASSERT_EQ(stamp.status, 1);
    EXPECT_STREQ(stamp.record->name, "Seal");
    EXPECT_EQ(stamp.record->data, nullptr);
    EXPECT_EQ(stamp.record->data_length, 0u);
}

TEST_F(enumerate, serial_filter_compares_the_whole_serial) {
    add_two_devices();
    EXPECT_EQ(count(-1, "SN-1", 3), 0);
    EXPECT_EQ(count(-1, "SN-1 and more", 4), 1);
    EXPECT_EQ(count(-1, "SN-1 and more", 13), 0);
}

TEST_F(enumerate, serial_filter_with_length_0_is_ignored) {
    add_two_devices();
    EXPECT_EQ(count(-1, "SN-2", 0), 2);
}

TEST_F(enumerate, null_serial_with_a_length_is_ignored) {
    add_two_devices();
    EXPECT_EQ(count(-1, nullptr, 4), 2);
    EXPECT_EQ(traced(-1, nullptr, 4)[2],
              " [VERBOSE]  [VemraAppStampGetAllStamps] Input `device_sn`       : (null)");
}

TEST_F(enumerate, a_map_entry_keeps_its_first_device_after_a_replug) {
    add_device_with("Seal&8130");
    const std::string uuid = uuid_of(0);
    fake.unplug_device("SN-1");
    add_device_with("Seal&8130");
    EXPECT_EQ(uuid_of(0), uuid);
    const stdout_capture captured;
    EXPECT_EQ(VemraAppStampDeleteStamp(bytes_of(uuid), 8, nullptr), 0);
    EXPECT_EQ(captured.error_lines(),
              text_lines{" [ERROR]    [VemraAppStampDeleteStamp] Unable to get stamp data from "
                         "8130, because: " +
                         failure_text("removed(19", 147) + ". (src/core/VEMRA_APP_STAMP.cpp:N)"});
}

}  // namespace
