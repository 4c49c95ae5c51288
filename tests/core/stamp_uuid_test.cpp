// The uuid that stamp_device_map makes of a device and a slot.

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <vector>

#include "core/stamp_device_map.h"
#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"
#include "support/stream_capture.h"
#include "vemra_crypto_cpp/exception.h"

using vemra::app::stamp::g_stamp_device_map;
using vemra::app::stamp::stamp_device_map;
using vemra::crypto::device;

namespace {

using lines_t = std::vector<std::string>;
using uuid_t = std::basic_string<unsigned char>;

class stamp_uuid : public testing::Test {
protected:
    void SetUp() override {
        fake.add_device("SN-1", 3);
        devices_ = device::get_all_devices(-1, 0);
        fake.clear_calls();
    }
    void TearDown() override {
        allocation_faults::stop();
        EXPECT_EQ(fake.live_hashes(), 0);
        EXPECT_EQ(fake.live_buffers(), 0);
        EXPECT_EQ(fake.misuses(), calls_t{});
    }

    uuid_t uuid_of(int slot, const std::string& name = "seal", const std::string& data = "bytes") {
        return stamp_device_map::generate_uuid(devices_.front(), slot, name, data.data(),
                                               data.size());
    }
    static lines_t error(const std::string& message) {
        return {" [ERROR]    [generate_uuid] " + message + " (src/core/stamp_device_map.cpp:N)"};
    }

    const calls_t identifies = {"VemraPKICryptoGetSerialNumber(SN-1, null)",
                                "VemraPKICryptoFreeMemory(serial)", "VemraPKICryptoGetType(SN-1)"};
    const calls_t makes_hash = {"VemraPKICryptoNewHash(SN-1, 28672)"};
    const calls_t hashes_serial = {"VemraPKICryptoHashUpdate(hash, 53 4e 2d 31, 4)"};
    const calls_t hashes_type = {"VemraPKICryptoHashUpdate(hash, 03 00 00 00, 4)"};
    const calls_t hashes_slot = {"VemraPKICryptoHashUpdate(hash, c2 1f 00 00, 4)"};
    const calls_t finishes = {"VemraPKICryptoHashFinal(hash, null, 0)"};
    const calls_t frees_digest = {"VemraPKICryptoFreeMemory(digest)"};
    const calls_t frees_hash = {"VemraPKICryptoFreeHash(hash)"};

    static calls_t joined(std::initializer_list<calls_t> steps) {
        calls_t all;
        for (const calls_t& step : steps)
            all.insert(all.end(), step.begin(), step.end());
        return all;
    }

    fake_device_library fake;
    std::vector<std::shared_ptr<device>> devices_;
};

TEST_F(stamp_uuid, hashes_serial_type_and_slot_little_endian) {
    const stdout_capture captured;
    uuid_of(8130);
    EXPECT_EQ(fake.calls(), joined({identifies, makes_hash, hashes_serial, hashes_type, hashes_slot,
                                    finishes, frees_digest, frees_hash}));
    EXPECT_EQ(captured.text(), "");
}

TEST_F(stamp_uuid, hashes_negative_numbers_and_high_bytes) {
    fake.answer_type(-2);
    uuid_of(0x12345678);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoHashUpdate"),
              joined({hashes_serial,
                      {"VemraPKICryptoHashUpdate(hash, fe ff ff ff, 4)"},
                      {"VemraPKICryptoHashUpdate(hash, 78 56 34 12, 4)"}}));
}

TEST_F(stamp_uuid, hashes_an_empty_serial_number) {
    fake.answer_serial(fake_device_library::scripted_failure, std::nullopt);
    EXPECT_FALSE(uuid_of(8130).empty());
    EXPECT_EQ(fake.calls_of("VemraPKICryptoHashUpdate"),
              joined({{"VemraPKICryptoHashUpdate(hash, no bytes, 0)"}, hashes_type, hashes_slot}));
}

TEST_F(stamp_uuid, is_the_digest_byte_for_byte) {
    fake.answer_digest(1, std::string("\0\xff\x10", 3), 3);
    EXPECT_EQ(uuid_of(8130), (uuid_t{0x00, 0xff, 0x10}));
}

TEST_F(stamp_uuid, has_the_length_that_the_hash_tells) {
    fake.answer_digest(1, std::string(64, 'd'), 32);
    EXPECT_EQ(uuid_of(8130), uuid_t(32, 'd'));
}

TEST_F(stamp_uuid, does_not_depend_on_name_and_bytes) {
    const uuid_t uuid = uuid_of(8130, "one", "first");
    EXPECT_EQ(uuid_of(8130, "two", "second"), uuid);
    EXPECT_EQ(stamp_device_map::generate_uuid(devices_.front(), 8130, "", nullptr, 7), uuid);
}

TEST_F(stamp_uuid, differs_between_slots_devices_and_types) {
    fake.add_device("SN-2", 3);
    const uuid_t uuid = uuid_of(8130);
    EXPECT_NE(uuid_of(8131), uuid);
    fake.answer_type(4);
    EXPECT_NE(uuid_of(8130), uuid);
    fake.clear_answers();
    fake.answer_serial(1, "SN-2");
    EXPECT_NE(uuid_of(8130), uuid);
}

TEST_F(stamp_uuid, is_empty_when_no_hash_can_be_made) {
    const stdout_capture captured;
    fake.fail_function("VemraPKICryptoNewHash", 1);
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(captured.normalised(), error("Unable to new a hash handle."));
    EXPECT_EQ(fake.calls(), joined({identifies, makes_hash}));
}

TEST_F(stamp_uuid, is_empty_when_the_serial_number_cannot_be_hashed) {
    const stdout_capture captured;
    fake.fail_function("VemraPKICryptoHashUpdate", 1, fault::failing(17));
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(captured.normalised(),
              error("Unable to update bytes to hash handle, vemra errcode: 17."));
    EXPECT_EQ(fake.calls(), joined({identifies, makes_hash, hashes_serial, frees_hash}));
}

TEST_F(stamp_uuid, is_empty_when_the_type_cannot_be_hashed) {
    const stdout_capture captured;
    fake.fail_function("VemraPKICryptoHashUpdate", 2, fault::failing(-18));
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(captured.normalised(),
              error("Unable to update bytes to hash handle, vemra errcode: -18."));
    EXPECT_EQ(fake.calls(),
              joined({identifies, makes_hash, hashes_serial, hashes_type, frees_hash}));
}

TEST_F(stamp_uuid, is_empty_when_the_slot_cannot_be_hashed) {
    const stdout_capture captured;
    fake.fail_function("VemraPKICryptoHashUpdate", 3, fault::failing(0));
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(captured.normalised(),
              error("Unable to update bytes to hash handle, vemra errcode: 0."));
    EXPECT_EQ(fake.calls(), joined({identifies, makes_hash, hashes_serial, hashes_type, hashes_slot,
                                    frees_hash}));
}

TEST_F(stamp_uuid, is_empty_when_the_hash_cannot_be_finished) {
    const stdout_capture captured;
    fake.fail_function("VemraPKICryptoHashFinal", 1, fault::failing(20));
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(captured.normalised(), error("Unable to finish hash, vemra errcode: 20."));
    EXPECT_EQ(fake.calls(), joined({identifies, makes_hash, hashes_serial, hashes_type, hashes_slot,
                                    finishes, frees_hash}));
}

TEST_F(stamp_uuid, releases_the_digest_of_a_hash_that_failed_to_finish) {
    const stdout_capture captured;
    fake.answer_digest(20, "digest", 6);
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeMemory"),
              (calls_t{"VemraPKICryptoFreeMemory(serial)", "VemraPKICryptoFreeMemory(digest)"}));
}

TEST_F(stamp_uuid, of_a_null_digest_with_a_length_is_a_logic_error) {
    fake.answer_digest(1, std::nullopt, 8);
    try {
        uuid_of(8130);
        FAIL() << "no exception";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "basic_string::_S_construct null not valid");
    }
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeHash"), frees_hash);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeMemory(digest)"), calls_t{});
}

TEST_F(stamp_uuid, of_a_null_digest_without_a_length_is_empty) {
    const stdout_capture captured;
    fake.answer_digest(1, std::nullopt, 0);
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(captured.text(), "");
}

TEST_F(stamp_uuid, of_a_digest_without_a_length_is_empty_and_releases_it) {
    fake.answer_digest(1, "digest", 0);
    EXPECT_TRUE(uuid_of(8130).empty());
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeMemory(digest)"),
              calls_t{"VemraPKICryptoFreeMemory(digest)"});
}

TEST_F(stamp_uuid, of_a_digest_with_a_negative_length_is_a_length_error_that_releases_it) {
    fake.answer_digest(1, "digest", -1);
    try {
        uuid_of(8130);
        FAIL() << "no exception";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "digest of negative length");
    }
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFree"),
              joined({{"VemraPKICryptoFreeMemory(serial)"}, frees_digest, frees_hash}));
}

TEST_F(stamp_uuid, throws_when_the_type_cannot_be_read_before_a_hash_is_made) {
    fake.fail_function("VemraPKICryptoGetType", 1, fault::failing(19));
    EXPECT_THROW(uuid_of(8130), vemra::crypto::exception);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoNewHash"), calls_t{});
}

TEST_F(stamp_uuid, releases_hash_and_digest_whatever_allocation_fails) {
    fake.answer_digest(1, std::string(100, 'd'), 100);
    for (int nth = 1;; ++nth) {
        allocation_faults::fail_throwing(nth);
        bool has_thrown = false;
        try {
            uuid_of(8130);
        } catch (const std::bad_alloc&) {
            has_thrown = true;
        }
        const bool has_fired = allocation_faults::fired();
        allocation_faults::stop();
        ASSERT_EQ(has_thrown, has_fired) << "allocation " << nth;
        ASSERT_EQ(fake.live_hashes() + fake.live_buffers(), 0) << "allocation " << nth;
        if (!has_fired) break;
    }
}

TEST_F(stamp_uuid, releases_hash_and_digest_when_the_library_throws) {
    for (const char* function : {"VemraPKICryptoHashUpdate", "VemraPKICryptoHashFinal"}) {
        fake.fail_function(function, 1, fault::throwing_int());
        EXPECT_THROW(uuid_of(8130), int);
        EXPECT_EQ(fake.live_hashes(), 0) << function;
    }
}

TEST_F(stamp_uuid, takes_no_lock_of_the_map_and_registers_nothing) {
    const lock_watch watch(g_stamp_device_map);
    const uuid_t uuid = uuid_of(8130);
    EXPECT_EQ(watch.count(), 0);
    EXPECT_FALSE(g_stamp_device_map.has(uuid));
}

TEST_F(stamp_uuid, locks_the_device_once) {
    const lock_watch watch(*devices_.front());
    uuid_of(8130);
    EXPECT_EQ(watch.count(), 1);
}

}  // namespace
