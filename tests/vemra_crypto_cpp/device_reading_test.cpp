// Length, reading and deleting of data slots.

#include <limits>

#include "slot_fixture.h"

namespace {

class slot_reading : public slot_fixture {};

TEST_F(slot_reading, tells_the_length_that_the_library_reports) {
    fake.fill_slot(8130, "abc");
    EXPECT_EQ(device_->get_data_length(8130), 3);
    EXPECT_EQ(fake.calls(), calls_t{asks});
}

TEST_F(slot_reading, passes_the_slot_number_on) {
    device_->get_data_length(8127);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetDataLength(SN-1, 8127, 0)"});
}

TEST_F(slot_reading, takes_a_missing_slot_for_one_of_length_zero) {
    EXPECT_EQ(device_->get_data_length(8130), 0);
    EXPECT_FALSE(device_->has_data(8130));
    EXPECT_EQ(device_->get_data(8130), "");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, asks}));
}

TEST_F(slot_reading, takes_an_empty_slot_for_one_without_data) {
    fake.fill_slot(8130, "");
    EXPECT_FALSE(device_->has_data(8130));
    EXPECT_EQ(device_->get_data(8130), "");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks}));
}

TEST_F(slot_reading, throws_any_other_failure_of_the_length) {
    for (const int code : {0, -1, -6, -8, 11}) {
        fake.set_error_text(code, "text");
        fake.fail_function("VemraPKICryptoGetDataLength", 1, fault::failing(code));
        EXPECT_EQ(failure_of([&] { device_->get_data_length(8130); }),
                  "text(" + std::to_string(code) + ". (at src/vemra_crypto_cpp/device:147");
        fake.clear_faults();
    }
}

TEST_F(slot_reading, has_data_throws_what_the_length_throws) {
    fake.fail_function("VemraPKICryptoGetDataLength", 1, fault::failing(11));
    EXPECT_EQ(failure_of([&] { device_->has_data(8130); }),
              "bad handle(11. (at src/vemra_crypto_cpp/device:147");
}

TEST_F(slot_reading, has_data_when_the_length_is_not_zero) {
    fake.fill_slot(8130, "a");
    EXPECT_TRUE(device_->has_data(8130));
}

TEST_F(slot_reading, gives_the_bytes_of_the_slot_zero_bytes_included) {
    fake.fill_slot(8130, std::string("a\0b\0", 4));
    EXPECT_EQ(device_->get_data(8130), std::string("a\0b\0", 4));
    EXPECT_EQ(fake.calls(), (calls_t{asks, reads(4)}));
}

TEST_F(slot_reading, gives_only_the_bytes_that_the_library_reports_valid) {
    fake.fill_slot(8130, "abcd");
    fake.answer_read_length(2);
    EXPECT_EQ(device_->get_data(8130), "ab");
    fake.answer_read_length(0);
    EXPECT_EQ(device_->get_data(8130), "");
}

TEST_F(slot_reading, keeps_the_reported_length_within_the_buffer) {
    fake.fill_slot(8130, "abcd");
    fake.answer_read_length(5);
    EXPECT_EQ(device_->get_data(8130), "abcd");
    fake.answer_read_length(2147483647);
    EXPECT_EQ(device_->get_data(8130), "abcd");
    fake.answer_read_length(-1);
    EXPECT_EQ(device_->get_data(8130), "");
}

TEST_F(slot_reading, gives_zero_bytes_that_the_library_did_not_write) {
    fake.fill_slot(8130, "ab");
    fake.answer_data_length(4);
    fake.answer_read_length(4);
    EXPECT_EQ(device_->get_data(8130), std::string("ab\0\0", 4));
}

TEST_F(slot_reading, throws_a_failed_read) {
    fake.fill_slot(8130, "abc");
    fake.fail_function("VemraPKICryptoReadData", 1, fault::failing(14));
    EXPECT_EQ(failure_of([&] { device_->get_data(8130); }),
              "buffer too small(14. (at src/vemra_crypto_cpp/device:176");
    EXPECT_EQ(fake.calls(), (calls_t{asks, reads(3), tells(14)}));
}

TEST_F(slot_reading, throws_a_failed_length_before_it_reads) {
    fake.fill_slot(8130, "abc");
    fake.fail_function("VemraPKICryptoGetDataLength", 1, fault::failing(11));
    EXPECT_EQ(failure_of([&] { device_->get_data(8130); }),
              "bad handle(11. (at src/vemra_crypto_cpp/device:147");
    EXPECT_EQ(fake.calls(), (calls_t{asks, tells(11)}));
}

TEST_F(slot_reading, reads_as_empty_when_memory_fails) {
    fake.fill_slot(8130, "abc");
    allocation_faults::fail_nothrow(1);
    EXPECT_EQ(device_->get_data(8130), "");
    EXPECT_TRUE(allocation_faults::fired());
    EXPECT_EQ(fake.calls(), calls_t{asks});
}

TEST_F(slot_reading, reads_a_negative_length_as_empty_and_asks_for_no_memory) {
    fake.fill_slot(8130, "abc");
    for (const int length : {-1, -5, std::numeric_limits<int>::min()}) {
        fake.answer_data_length(length);
        allocation_faults::fail_nothrow(0);
        EXPECT_EQ(device_->get_data(8130), "");
        EXPECT_EQ(allocation_faults::nothrow_count(), 0) << length;
    }
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, asks}));
}

TEST_F(slot_reading, releases_its_buffer_on_every_path) {
    fake.fill_slot(8130, "abc");
    fake.fail_function("VemraPKICryptoReadData", 2);
    const long before = allocation_faults::live_blocks();
    device_->get_data(8130);
    failure_of([&] { device_->get_data(8130); });
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(device_->get_data(8130), std::bad_alloc);
    EXPECT_EQ(allocation_faults::live_blocks(), before);
}

TEST_F(slot_reading, of_every_length_around_a_power_of_two_is_whole) {
    for (const std::size_t length : {1U, 15U, 16U, 17U, 4095U, 4096U, 4097U, 65536U}) {
        const std::string bytes(length, 'x');
        fake.fill_slot(8130, bytes);
        EXPECT_EQ(device_->get_data(8130), bytes);
    }
}

class slot_deleting : public slot_fixture {};

TEST_F(slot_deleting, removes_a_slot_with_data) {
    fake.fill_slot(8130, "abc");
    device_->delete_data(8130);
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(fake.calls(), (calls_t{asks, deletes}));
}

TEST_F(slot_deleting, does_nothing_to_a_missing_slot) {
    device_->delete_data(8130);
    EXPECT_EQ(fake.calls(), calls_t{asks});
}

TEST_F(slot_deleting, does_nothing_to_an_empty_slot) {
    fake.fill_slot(8130, "");
    device_->delete_data(8130);
    EXPECT_EQ(fake.slot(8130), "");
    EXPECT_EQ(fake.calls(), calls_t{asks});
}

TEST_F(slot_deleting, throws_a_failed_length) {
    fake.fail_function("VemraPKICryptoGetDataLength", 1, fault::failing(11));
    EXPECT_EQ(failure_of([&] { device_->delete_data(8130); }),
              "bad handle(11. (at src/vemra_crypto_cpp/device:147");
}

TEST_F(slot_deleting, throws_a_failed_delete) {
    fake.fill_slot(8130, "abc");
    fake.fail_function("VemraPKICryptoDeleteData", 1, fault::failing(15));
    EXPECT_EQ(failure_of([&] { device_->delete_data(8130); }),
              "not logged in(15. (at src/vemra_crypto_cpp/device:269");
    EXPECT_EQ(fake.calls(), (calls_t{asks, deletes, tells(15)}));
}

}  // namespace
