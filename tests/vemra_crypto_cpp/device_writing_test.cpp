// Writing of data slots: the calls in their order, on every path, and what each leaves behind.

#include <array>
#include <cstring>

#include "slot_fixture.h"

namespace {

// The block of the last creation, as a device library would see it that reads on to a zero byte.
std::array<unsigned char, 5> last_attributes;

}  // namespace

extern "C" {
int __real_VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                                    const unsigned char* attributes, int size);
int __wrap_VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                                    const unsigned char* attributes, int size);
int __wrap_VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                                    const unsigned char* attributes, int size) {
    std::memcpy(last_attributes.data(), attributes, last_attributes.size());
    return __real_VemraPKICryptoCreateData(device, id, attributes, size);
}
}

namespace {

// The bytes "abc" are written, over nothing or over "wxyz" or "xyz".
constexpr const char* abc = "61 62 63";
constexpr const char* wxyz = "77 78 79 7a";
constexpr const char* xyz = "78 79 7a";

calls_t operator+(calls_t left, const calls_t& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class slot_writing : public slot_fixture {
protected:
    void write(const std::string& bytes) {
        EXPECT_EQ(device_->set_data(8130, bytes.data(), static_cast<int>(bytes.size())),
                  static_cast<int>(bytes.size()));
    }
    std::string failure_of_write(const std::string& bytes) {
        return failure_of(
            [&] { device_->set_data(8130, bytes.data(), static_cast<int>(bytes.size())); });
    }
    void fail(const std::string& function, int nth, int code = 17) {
        fake.fail_function(function, nth, fault::failing(code));
    }
    static std::string message(int line, const std::string& cause = "scripted failure(17") {
        return cause + ". (at src/vemra_crypto_cpp/device:" + std::to_string(line);
    }

    // The steps over a slot that has four bytes: what was there is read and deleted.
    const calls_t saves_and_deletes_four = {asks, asks, reads(4), asks, asks, deletes, asks};
    const calls_t finds_nothing = {asks, asks, asks, asks};
};

TEST_F(slot_writing, creates_a_missing_slot_and_returns_the_length) {
    write("abc");
    EXPECT_EQ(fake.slot(8130), "abc");
    EXPECT_EQ(fake.calls(), finds_nothing + calls_t({creates(3), writes(abc, 3)}));
}

TEST_F(slot_writing, ends_the_attribute_block_in_a_zero_byte) {
    const std::array<unsigned char, 5> ended = {0x04, 0x01, 0x03, 0x07, 0x00};
    last_attributes.fill(0xff);
    write("abc");
    EXPECT_EQ(last_attributes, ended);
    last_attributes.fill(0xff);
    fail("VemraPKICryptoWriteData", 1);
    failure_of_write("wxyz");
    EXPECT_EQ(fake.slot(8130), "abc") << "the slot was not created again for what it held";
    EXPECT_EQ(last_attributes, ended);
}

TEST_F(slot_writing, writes_the_same_length_in_place) {
    fake.fill_slot(8130, "xyz");
    write("abc");
    EXPECT_EQ(fake.slot(8130), "abc");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, reads(3), asks, asks, writes(abc, 3)}));
}

TEST_F(slot_writing, deletes_and_creates_a_slot_of_another_length) {
    fake.fill_slot(8130, "wxyz");
    write("abc");
    EXPECT_EQ(fake.slot(8130), "abc");
    EXPECT_EQ(fake.calls(), saves_and_deletes_four + calls_t({creates(3), writes(abc, 3)}));
}

TEST_F(slot_writing, of_no_bytes_makes_an_empty_slot) {
    write("");
    EXPECT_EQ(fake.slot(8130), "");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, asks, creates(0), writes("no bytes", 0)}));
}

TEST_F(slot_writing, of_no_bytes_over_data_deletes_it_first) {
    fake.fill_slot(8130, "wxyz");
    write("");
    EXPECT_EQ(fake.slot(8130), "");
    EXPECT_EQ(fake.calls(), saves_and_deletes_four + calls_t({creates(0), writes("no bytes", 0)}));
}

TEST_F(slot_writing, stops_at_each_failed_length_before_anything_changes) {
    fake.fill_slot(8130, "wxyz");
    for (int nth = 1; nth <= 4; ++nth) {
        fail("VemraPKICryptoGetDataLength", nth, 11);
        EXPECT_EQ(failure_of_write("abc"), message(147, "bad handle(11")) << nth;
        EXPECT_EQ(fake.slot(8130), "wxyz") << nth;
        fake.clear_faults();
    }
    EXPECT_EQ(fake.calls_of("VemraPKICryptoDeleteData"), calls_t{});
}

TEST_F(slot_writing, stops_when_the_old_content_cannot_be_read) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoReadData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(176));
    EXPECT_EQ(fake.slot(8130), "wxyz");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, reads(4), tells(17)}));
}

TEST_F(slot_writing, stops_when_the_old_slot_cannot_be_deleted) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoDeleteData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(269));
    EXPECT_EQ(fake.slot(8130), "wxyz");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, reads(4), asks, asks, deletes, tells(17)}));
}

// Kept(no-way-back): there is no way back from here; the slot stays deleted.
TEST_F(slot_writing, leaves_the_slot_deleted_when_the_length_fails_after_the_delete) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoGetDataLength", 5, 11);
    EXPECT_EQ(failure_of_write("abc"), message(147, "bad handle(11"));
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(fake.calls(), saves_and_deletes_four + calls_t({tells(11)}));
}

TEST_F(slot_writing, puts_the_old_content_back_when_the_slot_cannot_be_created) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoCreateData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(241));
    EXPECT_EQ(fake.slot(8130), "wxyz");
    EXPECT_EQ(fake.calls(), saves_and_deletes_four + calls_t({creates(3), asks, creates(4),
                                                              writes(wxyz, 4), tells(17)}));
}

TEST_F(slot_writing, puts_the_old_content_back_when_the_write_fails) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoWriteData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(253));
    EXPECT_EQ(fake.slot(8130), "wxyz");
    EXPECT_EQ(fake.calls(),
              saves_and_deletes_four + calls_t({creates(3), writes(abc, 3), asks, deletes, asks,
                                                creates(4), writes(wxyz, 4), tells(17)}));
}

TEST_F(slot_writing, puts_the_old_content_back_when_a_write_in_place_fails) {
    fake.fill_slot(8130, "xyz");
    fail("VemraPKICryptoWriteData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(253));
    EXPECT_EQ(fake.slot(8130), "xyz");
    EXPECT_EQ(fake.calls(), (calls_t{asks, asks, reads(3), asks, asks, writes(abc, 3), asks,
                                     deletes, asks, creates(3), writes(xyz, 3), tells(17)}));
}

TEST_F(slot_writing, leaves_an_empty_slot_when_a_new_one_cannot_be_created) {
    fail("VemraPKICryptoCreateData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(241));
    EXPECT_EQ(fake.slot(8130), "");
    EXPECT_FALSE(device_->has_data(8130));
}

TEST_F(slot_writing, recreates_with_no_bytes_when_a_new_slot_cannot_be_created) {
    fail("VemraPKICryptoCreateData", 1);
    failure_of_write("abc");
    EXPECT_EQ(fake.calls(), finds_nothing + calls_t({creates(3), asks, creates(0),
                                                     writes("no bytes", 0), tells(17)}));
}

TEST_F(slot_writing, leaves_an_empty_slot_when_a_new_one_cannot_be_written) {
    fail("VemraPKICryptoWriteData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(253));
    EXPECT_EQ(fake.slot(8130), "");
    EXPECT_EQ(fake.calls(),
              finds_nothing + calls_t({creates(3), writes(abc, 3), asks, deletes, asks, creates(0),
                                       writes("no bytes", 0), tells(17)}));
}

TEST_F(slot_writing, writes_back_without_creating_when_the_failed_create_left_a_slot) {
    fake.fill_slot(8130, "wxyz");
    fake.fail_function("VemraPKICryptoCreateData", 1, fault::working_but_failing(17));
    EXPECT_EQ(failure_of_write("abc"), message(210, "wrong length(13"));
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(fake.calls(), saves_and_deletes_four + calls_t({creates(3), asks, writes(wxyz, 4),
                                                              asks, deletes, tells(13)}));
}

TEST_F(slot_writing, failed_restore_that_cannot_ask_replaces_the_exception) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoCreateData", 1);
    fail("VemraPKICryptoGetDataLength", 6, 11);
    EXPECT_EQ(failure_of_write("abc"), message(147, "bad handle(11"));
    EXPECT_EQ(fake.calls(), saves_and_deletes_four + calls_t({creates(3), asks, tells(11)}));
}

TEST_F(slot_writing, failed_restore_that_cannot_create_replaces_the_exception) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoCreateData", 1, 15);
    fail("VemraPKICryptoCreateData", 2, 19);
    EXPECT_EQ(failure_of_write("abc"), message(200, "removed(19"));
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(fake.calls(),
              saves_and_deletes_four + calls_t({creates(3), asks, creates(4), tells(19)}));
}

TEST_F(slot_writing, failed_restore_that_cannot_write_deletes_and_replaces_the_exception) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoWriteData", 1, 15);
    fail("VemraPKICryptoWriteData", 2, 19);
    EXPECT_EQ(failure_of_write("abc"), message(210, "removed(19"));
    EXPECT_EQ(fake.slot(8130), std::nullopt);
    EXPECT_EQ(fake.calls(), saves_and_deletes_four +
                                calls_t({creates(3), writes(abc, 3), asks, deletes, asks,
                                         creates(4), writes(wxyz, 4), asks, deletes, tells(19)}));
}

TEST_F(slot_writing, failed_restore_that_cannot_delete_throws_that) {
    fake.fill_slot(8130, "wxyz");
    fake.fail_function("VemraPKICryptoWriteData", 1, fault::failing(15).lasting());
    fail("VemraPKICryptoDeleteData", 3, 19);
    EXPECT_EQ(failure_of_write("abc"), message(269, "removed(19"));
    EXPECT_EQ(fake.slot(8130), std::string(4, '\0'));
}

TEST_F(slot_writing, failed_write_that_cannot_be_deleted_throws_that_and_restores_nothing) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoWriteData", 1, 15);
    fail("VemraPKICryptoDeleteData", 2, 19);
    EXPECT_EQ(failure_of_write("abc"), message(269, "removed(19"));
    EXPECT_EQ(fake.calls(), saves_and_deletes_four +
                                calls_t({creates(3), writes(abc, 3), asks, deletes, tells(19)}));
}

TEST_F(slot_writing, failed_write_whose_length_cannot_be_asked_throws_that) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoWriteData", 1, 15);
    fail("VemraPKICryptoGetDataLength", 6, 11);
    EXPECT_EQ(failure_of_write("abc"), message(147, "bad handle(11"));
    EXPECT_EQ(fake.calls(),
              saves_and_deletes_four + calls_t({creates(3), writes(abc, 3), asks, tells(11)}));
}

// Leaves "wxyz" in the device's backup: neither the write nor the restore could create.
class slot_writing_after_a_failed_restore : public slot_writing {
protected:
    void SetUp() override {
        fake.fill_slot(8130, "wxyz");
        fail("VemraPKICryptoCreateData", 1);
        fail("VemraPKICryptoCreateData", 2);
        failure_of_write("abc");
        fake.clear_faults();
    }
};

TEST_F(slot_writing_after_a_failed_restore, a_failure_restores_the_backup_that_was_kept) {
    fail("VemraPKICryptoWriteData", 1);
    EXPECT_EQ(failure_of_write("abc"), message(253));
    EXPECT_EQ(fake.slot(8130), "wxyz");
}

TEST_F(slot_writing_after_a_failed_restore, a_failure_elsewhere_restores_it_there) {
    fail("VemraPKICryptoWriteData", 1);
    failure_of([&] { device_->set_data(8131, "abc", 3); });
    EXPECT_EQ(fake.slot(8131), "wxyz");
}

TEST_F(slot_writing_after_a_failed_restore, a_success_on_any_slot_forgets_it) {
    device_->set_data(8131, "abc", 3);
    fail("VemraPKICryptoWriteData", 1);
    failure_of_write("abc");
    EXPECT_EQ(fake.slot(8130), "");
}

TEST_F(slot_writing_after_a_failed_restore, a_slot_with_data_replaces_it) {
    fake.fill_slot(8130, "other");
    fail("VemraPKICryptoWriteData", 1);
    failure_of_write("abc");
    EXPECT_EQ(fake.slot(8130), "other");
}

TEST_F(slot_writing_after_a_failed_restore, a_restore_that_succeeds_forgets_it) {
    fail("VemraPKICryptoWriteData", 1);
    failure_of_write("abc");
    fake.clear_faults();
    fail("VemraPKICryptoWriteData", 1);
    failure_of([&] { device_->set_data(8131, "abc", 3); });
    EXPECT_EQ(fake.slot(8131), "");
}

// Kept(unread-is-empty): without memory the old content reads as empty, and empty is put back.
TEST_F(slot_writing, restores_nothing_when_there_was_no_memory_for_the_old_content) {
    fake.fill_slot(8130, "wxyz");
    fail("VemraPKICryptoWriteData", 1);
    allocation_faults::fail_nothrow(1);
    EXPECT_EQ(failure_of_write("abc"), message(253));
    EXPECT_EQ(fake.slot(8130), "");
}

}  // namespace
