#include "api/api_test.h"

namespace {

class enumerate_failure : public api_test {
protected:
    /** Lists all; the lines, normalised, without the entry, input and exit lines. */
    text_lines lines_of_listing() {
        VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
        text_lines lines = trace([&] { set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1); });
        const stdout_capture unseen;
        status = VemraAppStampGetLastError();
        has_set = set != nullptr;
        count = 0;
        if (has_set) {
            VemraAppStampGetStampCount(set, &count);
            VemraAppStampFreeStamps(set);
        }
        EXPECT_EQ(lines.back(),
                  " [VERBOSE]  [VemraAppStampGetAllStamps] <<<< VemraAppStampGetAllStamps");
        lines.pop_back();
        lines.erase(lines.begin(), lines.begin() + 5);
        return lines;
    }

    static std::string error(const std::string& message) {
        return " [ERROR]    [VemraAppStampGetAllStamps] " + message +
               " (src/core/VEMRA_APP_STAMP.cpp:N)";
    }
    static std::string uuid_error(const std::string& message) {
        return " [ERROR]    [generate_uuid] " + message + " (src/core/stamp_device_map.cpp:N)";
    }

    /** Fails a hash function; the listing must report it and skip the entry. */
    void expect_uuid_failure(const std::string& message) {
        EXPECT_EQ(lines_of_listing(),
                  (text_lines{uuid_error(message), error("Unable to generate uuid of stamp.")}));
        EXPECT_EQ(status, 1);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(fake.live_handles_and_buffers(), 0);
    }

    /** A device whose stamps are listed after those of SN-1. */
    void add_second_device() {
        fake.add_device("SN-2", 4);
        fake.fill_slot("SN-2", 8127, mapping_record("Other&8131"));
        fake.fill_slot("SN-2", 8131, "world");
    }

    int status = -99;
    bool has_set = false;
    unsigned int count = 0;
};

TEST_F(enumerate_failure, an_enumeration_that_throws_is_0_with_its_line) {
    fake.add_device("SN-1", 3);
    for (const char* function : {"VemraPKICryptoGetAllDevices", "VemraPKICryptoGetDeviceCount",
                                 "VemraPKICryptoGetDevice", "VemraPKICryptoGetKeypairCount"}) {
        fake.clear_faults();
        fake.fail_function(function, 1, fault::throwing_runtime_error());
        EXPECT_EQ(
            lines_of_listing(),
            text_lines{error("Unable to load devices, because: thrown by the device library.")});
        EXPECT_EQ(status, 0);
        EXPECT_FALSE(has_set);
        EXPECT_EQ(fake.live_handles_and_buffers(), 0);
    }
}

TEST_F(enumerate_failure,
       an_exception_that_is_not_standard_leaves_from_a_device_and_frees_the_set) {
    add_device_with("Seal&8130");
    fake.fail_function("VemraPKICryptoReadData", 2, fault::throwing_int());
    const stdout_capture unseen;
    const long before = allocation_faults::live_blocks();
    EXPECT_THROW(VemraAppStampGetAllStamps(-1, nullptr, 0, -1), int);
    const long after = allocation_faults::live_blocks();
    EXPECT_EQ(after, before);
    EXPECT_EQ(fake.live_handles_and_buffers(), 0);
}

TEST_F(enumerate_failure, a_slot_that_cannot_be_read_keeps_what_was_listed_and_drops_the_rest) {
    add_device_with("A&8130||B&8131||C&8132");
    for (const int id : {8131, 8132})
        fake.fill_slot("SN-1", id, "bytes");
    add_second_device();
    fake.fail_function("VemraPKICryptoReadData", 3);
    const text_lines lines = lines_of_listing();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], error(failure_text("scripted failure(17", 176)));
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(status, 1);
}

TEST_F(enumerate_failure, a_device_that_throws_skips_the_device) {
    add_device_with("Seal&8130");
    fake.fail_function("VemraPKICryptoReadData", 1, fault::throwing_runtime_error());
    EXPECT_EQ(lines_of_listing(), text_lines{error("thrown by the device library")});
    EXPECT_EQ(status, 1);
    EXPECT_EQ(count, 0u);
}

TEST_F(enumerate_failure, each_hash_update_that_fails_skips_the_entry) {
    for (int nth = 1; nth <= 3; ++nth) {
        fake = fake_device_library();
        add_device_with("Seal&8130");
        fake.fail_function("VemraPKICryptoHashUpdate", nth, fault::failing(23));
        expect_uuid_failure("Unable to update bytes to hash handle, vemra errcode: 23.");
        EXPECT_EQ(fake.calls_of("VemraPKICryptoHashUpdate").size(), static_cast<unsigned>(nth));
        EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeHash").size(), 1u);
    }
}

TEST_F(enumerate_failure, an_empty_digest_skips_the_entry) {
    add_device_with("Seal&8130");
    fake.answer_digest(1, std::nullopt, 0);
    EXPECT_EQ(lines_of_listing(), text_lines{error("Unable to generate uuid of stamp.")});
    EXPECT_EQ(status, 1);
}

class enumerate_without_memory : public enumerate_failure {
protected:
    /** Lists all while the nth non-throwing allocation fails. */
    text_lines lines_without_block(int nth) {
        VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
        const stdout_capture captured;
        allocation_faults::fail_nothrow(nth);
        set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
        EXPECT_TRUE(allocation_faults::fired());
        allocation_faults::stop();
        const text_lines lines = captured.normalised();
        status = VemraAppStampGetLastError();
        has_set = set != nullptr;
        if (has_set) VemraAppStampGetStampCount(set, &count);
        if (has_set) VemraAppStampFreeStamps(set);
        return text_lines(lines.begin() + 5, lines.end() - 1);
    }
};

// In the order of allocation: device, set, mapping, data, stamp, map entry.

TEST_F(enumerate_without_memory, for_a_device_is_0_and_its_handle_is_released) {
    add_device_with("Seal&8130");
    EXPECT_EQ(lines_without_block(1),
              text_lines{error("Unable to load devices, because: std::bad_alloc.")});
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(has_set);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeDevice").size(), 1u);
    EXPECT_EQ(fake.live_handles_and_buffers(), 0);
}

TEST_F(enumerate_without_memory, for_the_set_is_minus_3_without_a_line) {
    add_device_with("Seal&8130");
    EXPECT_EQ(lines_without_block(2), text_lines{});
    EXPECT_EQ(status, -3);
    EXPECT_FALSE(has_set);
    EXPECT_EQ(fake.live_handles_and_buffers(), 0);
}

TEST_F(enumerate_without_memory, for_the_mapping_lists_nothing) {
    add_device_with("Seal&8130");
    EXPECT_EQ(lines_without_block(3), text_lines{});
    EXPECT_EQ(status, 1);
    EXPECT_EQ(count, 0u);
}

TEST_F(enumerate_without_memory, for_the_data_lists_a_stamp_without_bytes) {
    add_device_with("Seal&8130");
    EXPECT_EQ(lines_without_block(4).size(), 1u);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(count, 1u);
}

TEST_F(enumerate_without_memory, for_a_stamp_skips_the_entry_with_its_line) {
    add_device_with("A&8130||B&8131");
    const text_lines lines = lines_without_block(5);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], error("Unable to construct an image stamp object."));
    EXPECT_EQ(status, 1);
    EXPECT_EQ(count, 1u);
}

TEST_F(enumerate_without_memory, for_a_map_entry_stores_none_until_the_next_listing) {
    add_device_with("Seal&8130");
    EXPECT_EQ(lines_without_block(6).size(), 1u);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(fake.live_devices(), 0);
    EXPECT_EQ(listed_names(), text_lines{"Seal"});
}

}  // namespace
