#include "api/api_test.h"

namespace {

const char* const get_stamp = "VemraAppStampGetStamp";

class stamp_set : public api_test {
protected:
    /** Outputs that a failing call must leave alone. */
    struct outputs {
        unsigned char mark = 0;
        VEMRA_APP_STAMP_RECORD record_mark{};
        unsigned char* uuid = &mark;
        unsigned int size = 99;
        VEMRA_APP_STAMP_RECORD* record = &record_mark;

        bool are_untouched() const { return uuid == &mark && size == 99 && record == &record_mark; }
    };

    static expected_trace expected(const std::string& index) {
        expected_trace lines(get_stamp);
        lines.verbose("Input `handle`          : PTR");
        lines.verbose("Input `index`           : " + index);
        lines.verbose("Input `output_uuid`     : PTR");
        lines.verbose("Input `output_uuid_size`: PTR");
        lines.verbose("Input `output_stamp`    : PTR");
        return lines;
    }

    static int take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, outputs& out) {
        return VemraAppStampGetStamp(set, index, &out.uuid, &out.size, &out.record);
    }
};

TEST_F(stamp_set, freeing_a_null_set_is_minus_1) {
    int status = 0;
    EXPECT_EQ(
        trace([&] { status = VemraAppStampFreeStamps(nullptr); }),
        text_lines(expected_trace("VemraAppStampFreeStamps").verbose("Input `handle`: (nil)")));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
}

TEST_F(stamp_set, freeing_a_set_is_1_and_releases_it_whole) {
    add_device_with("A&8130||B&8131");
    uuid_of(0);
    const stdout_capture captured;
    const long before = allocation_faults::live_blocks();
    const VEMRA_APP_STAMP_SET_HANDLE set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
    captured.text();
    const int status = VemraAppStampFreeStamps(set);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(status, 1);
    EXPECT_EQ(after, before);
    EXPECT_EQ(last_status(), 1);
    const text_lines lines = captured.normalised();
    EXPECT_EQ(text_lines(lines.end() - 3, lines.end()),
              text_lines(expected_trace("VemraAppStampFreeStamps").verbose("Input `handle`: PTR")));
}

TEST_F(stamp_set, count_without_set_is_minus_1_and_writes_nothing) {
    unsigned int count = 99;
    int status = 0;
    EXPECT_EQ(trace([&] { status = VemraAppStampGetStampCount(nullptr, &count); }),
              text_lines(expected_trace("VemraAppStampGetStampCount")
                             .verbose("Input `handle`: (nil)")
                             .verbose("Input `count` : PTR")));
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
    EXPECT_EQ(count, 99u);
}

TEST_F(stamp_set, count_without_output_is_minus_2_after_the_handle_is_tested) {
    fake.add_device("SN-1", 3);
    const stdout_capture unseen;
    const listed_stamps all;
    EXPECT_EQ(VemraAppStampGetStampCount(all.set, nullptr), -2);
    EXPECT_EQ(VemraAppStampGetLastError(), -2);
    EXPECT_EQ(VemraAppStampGetStampCount(nullptr, nullptr), -1);
}

TEST_F(stamp_set, a_uuid_has_the_length_of_the_digest) {
    add_device_with("Seal&8130");
    fake.answer_digest(1, std::string("xyz"), 3);
    EXPECT_EQ(uuid_of(0), "xyz");
}

TEST_F(stamp_set, taking_a_stamp_allocates_record_owner_data_name_and_uuid) {
    add_device_with("Seal&8130");
    const stdout_capture unseen;
    const listed_stamps all;
    unsigned char* uuid = nullptr;
    unsigned int size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    const long before = allocation_faults::live_blocks();
    VemraAppStampGetStamp(all.set, 0, &uuid, &size, &record);
    const long with_stamp = allocation_faults::live_blocks();
    VemraAppStampFreeMemory(uuid);
    VemraAppStampFreeMemory(record->name);
    VemraAppStampFreeStamp(record);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(with_stamp, before + 5);
    EXPECT_EQ(after, before);
}

TEST_F(stamp_set, taking_a_stamp_twice_gives_two_records) {
    add_device_with("Seal&8130");
    const stdout_capture unseen;
    const listed_stamps all;
    const taken_stamp first(all.set, 0);
    const taken_stamp second(all.set, 0);
    EXPECT_NE(first.record, second.record);
    EXPECT_NE(first.record->data, second.record->data);
    EXPECT_NE(first.record->name, second.record->name);
    EXPECT_NE(first.uuid, second.uuid);
}

TEST_F(stamp_set, taking_without_set_is_minus_1_whatever_else) {
    outputs out;
    int status = 0;
    const text_lines lines = trace([&] { status = take(nullptr, 7, out); });
    EXPECT_EQ(status, -1);
    EXPECT_EQ(last_status(), -1);
    EXPECT_TRUE(out.are_untouched());
    EXPECT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[1], " [VERBOSE]  [VemraAppStampGetStamp] Input `handle`          : (nil)");
    const stdout_capture unseen;
    EXPECT_EQ(VemraAppStampGetStamp(nullptr, 7, nullptr, nullptr, nullptr), -1);
}

TEST_F(stamp_set, an_index_past_the_end_is_minus_5_even_without_outputs) {
    add_device_with("Seal&8130");
    const stdout_capture unseen;
    const listed_stamps all;
    EXPECT_EQ(VemraAppStampGetStamp(all.set, 1, nullptr, nullptr, nullptr), -5);
    EXPECT_EQ(VemraAppStampGetLastError(), -5);
    outputs out;
    EXPECT_EQ(take(all.set, 1, out), -5);
    EXPECT_EQ(take(all.set, 4294967295u, out), -5);
    EXPECT_TRUE(out.are_untouched());
}

TEST_F(stamp_set, any_missing_output_is_minus_2) {
    add_device_with("Seal&8130");
    const stdout_capture unseen;
    const listed_stamps all;
    outputs out;
    EXPECT_EQ(VemraAppStampGetStamp(all.set, 0, nullptr, &out.size, &out.record), -2);
    EXPECT_EQ(VemraAppStampGetStamp(all.set, 0, &out.uuid, nullptr, &out.record), -2);
    EXPECT_EQ(VemraAppStampGetStamp(all.set, 0, &out.uuid, &out.size, nullptr), -2);
    EXPECT_EQ(VemraAppStampGetLastError(), -2);
    EXPECT_TRUE(out.are_untouched());
}

TEST_F(stamp_set, a_stamp_that_the_map_does_not_know_is_0_with_its_index) {
    add_device_with("A&8130||B&8131");
    fake.fill_slot(8131, "world");
    const stdout_capture unseen;
    // Device, set, mapping, data, stamp, entry, data, stamp: the second entry is the ninth block.
    allocation_faults::fail_nothrow(9);
    const listed_stamps all;
    allocation_faults::stop();
    outputs out;
    int status = -99;
    EXPECT_EQ(trace([&] { status = take(all.set, 1, out); }),
              text_lines(expected("1").error("Unable to get the own device of stamp 1.")));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(VemraAppStampGetLastError(), 0);
    EXPECT_TRUE(out.are_untouched());
}

class stamp_set_without_memory : public stamp_set {
protected:
    /** Takes stamp 0 while the nth allocation fails: record, owner, data, name, uuid. */
    int take_without_block(int nth) {
        add_device_with("Seal&8130");
        const stdout_capture captured;
        const listed_stamps all;
        kept_leak_scope counted;
        const long before = allocation_faults::live_blocks();
        allocation_faults::fail_nothrow(nth);
        const int status = take(all.set, 0, out);
        has_fired = allocation_faults::fired();
        allocation_faults::stop();
        left = allocation_faults::live_blocks() - before;
        EXPECT_EQ(VemraAppStampGetLastError(), status);
        EXPECT_EQ(captured.error_lines(), text_lines{});
        return status;
    }

    outputs out;
    bool has_fired = false;
    long left = 0;
};

TEST_F(stamp_set_without_memory, for_the_record_is_minus_3_and_leaves_nothing) {
    EXPECT_EQ(take_without_block(1), -3);
    EXPECT_EQ(left, 0);
    EXPECT_TRUE(out.are_untouched());
}

TEST_F(stamp_set_without_memory, for_the_owner_is_minus_3_and_leaves_nothing) {
    EXPECT_EQ(take_without_block(2), -3);
    EXPECT_EQ(left, 0);
    EXPECT_TRUE(out.are_untouched());
}

TEST_F(stamp_set_without_memory, for_the_data_is_minus_3_and_keeps_record_and_owner) {
    EXPECT_EQ(take_without_block(3), -3);
    EXPECT_EQ(left, 2);
    EXPECT_TRUE(out.are_untouched());
}

TEST_F(stamp_set_without_memory, for_the_name_is_minus_3_and_leaves_nothing) {
    EXPECT_EQ(take_without_block(4), -3);
    EXPECT_EQ(left, 0);
    EXPECT_TRUE(out.are_untouched());
}

TEST_F(stamp_set_without_memory, for_the_uuid_is_minus_3_nulls_it_and_keeps_the_name) {
    EXPECT_EQ(take_without_block(5), -3);
    EXPECT_EQ(left, 1);
    EXPECT_EQ(out.uuid, nullptr);
    EXPECT_EQ(out.size, 99u);
    EXPECT_EQ(out.record, &out.record_mark);
}

TEST_F(stamp_set_without_memory, there_is_no_sixth_block) {
    EXPECT_EQ(take_without_block(6), 1);
    EXPECT_FALSE(has_fired);
    const stdout_capture unseen;
    VemraAppStampFreeMemory(out.uuid);
    VemraAppStampFreeMemory(out.record->name);
    VemraAppStampFreeStamp(out.record);
}

}  // namespace
