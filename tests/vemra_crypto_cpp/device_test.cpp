// Construction, ownership and identity of devices, and the locks of all their operations.

#include "vemra_crypto_cpp/device.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <new>
#include <system_error>
#include <type_traits>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"
#include "vemra_crypto_cpp/exception.h"

using vemra::crypto::certificate;
using vemra::crypto::device;

namespace {

class device_object : public testing::Test {
protected:
    void SetUp() override { fake.add_device("SN-1", 3); }
    void TearDown() override {
        allocation_faults::stop();
        EXPECT_EQ(fake.misuses(), calls_t{});
    }

    VEMRA_PKI_DEVICE_HANDLE_st* new_handle() {
        VEMRA_PKI_DEVICE_HANDLE_st* handle =
            VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
        fake.clear_calls();
        return handle;
    }
    std::shared_ptr<device> new_device() { return std::make_shared<device>(new_handle(), false); }

    fake_device_library fake;
};

TEST_F(device_object, takes_a_handle_and_frees_it_once) {
    VEMRA_PKI_DEVICE_HANDLE_st* handle = new_handle();
    { EXPECT_EQ(device(handle, false).get_handle(), handle); }
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoFreeDevice(SN-1)"});
}

TEST_F(device_object, cannot_be_copied) {
    EXPECT_FALSE(std::is_copy_constructible_v<device>);
    EXPECT_FALSE(std::is_copy_assignable_v<device>);
}

TEST_F(device_object, duplicates_a_handle_and_leaves_it_to_the_caller) {
    VEMRA_PKI_DEVICE_HANDLE_st* handle = new_handle();
    { EXPECT_NE(device(handle, true).get_handle(), handle); }
    EXPECT_EQ(fake.calls(),
              (calls_t{"VemraPKICryptoDupDevice(SN-1)", "VemraPKICryptoFreeDevice(SN-1)"}));
    EXPECT_EQ(fake.live_devices(), 1);
    VemraPKICryptoFreeDevice(handle);
}

TEST_F(device_object, is_over_the_pseudo_device_without_a_handle) {
    { const device pseudo; }
    EXPECT_EQ(fake.calls(),
              (calls_t{"VemraPKICryptoGetPseudoDevice()", "VemraPKICryptoFreeDevice(pseudo)"}));
}

TEST_F(device_object, frees_a_null_handle_once) {
    { const device none(nullptr, false); }
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoFreeDevice(null)"});
}

TEST_F(device_object, frees_its_handle_at_once_when_memory_fails) {
    VEMRA_PKI_DEVICE_HANDLE_st* handle = new_handle();
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(device(handle, false), std::bad_alloc);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoFreeDevice(SN-1)"});
}

TEST_F(device_object, does_not_load_its_keypairs_when_made) {
    fake.add_keypair("SN-1", {"A"});
    const auto made = new_device();
    EXPECT_TRUE(made->get_keypairs().empty());
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(device_object, tells_its_type) {
    const auto made = new_device();
    EXPECT_EQ(made->get_type(), 3);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetType(SN-1)"});
}

TEST_F(device_object, tells_negative_types_but_minus_one) {
    const auto made = new_device();
    fake.answer_type(-2);
    EXPECT_EQ(made->get_type(), -2);
    fake.answer_type(0);
    EXPECT_EQ(made->get_type(), 0);
}

TEST_F(device_object, throws_the_last_error_for_an_unknown_type) {
    const auto made = new_device();
    fake.fail_function("VemraPKICryptoGetType", 1, fault::failing(19));
    try {
        made->get_type();
        FAIL() << "no exception";
    } catch (const vemra::crypto::exception& error) {
        EXPECT_STREQ(error.what(), "removed(19. (at src/vemra_crypto_cpp/device:79");
    }
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICryptoGetType(SN-1)", "VemraPKIGetLastError()",
                                     "VemraPKIGetErrorMsg(19)"}));
}

TEST_F(device_object, tells_its_serial_number_and_frees_the_buffer) {
    const auto made = new_device();
    EXPECT_EQ(made->get_serial_number(), "SN-1");
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICryptoGetSerialNumber(SN-1, null)",
                                     "VemraPKICryptoFreeMemory(serial)"}));
    EXPECT_EQ(fake.live_buffers(), 0);
}

TEST_F(device_object, has_an_empty_serial_number_when_the_library_fails) {
    const auto made = new_device();
    fake.fail_function("VemraPKICryptoGetSerialNumber", 1);
    EXPECT_EQ(made->get_serial_number(), "");
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetSerialNumber(SN-1, null)"});
}

TEST_F(device_object, frees_the_buffer_of_a_failed_serial_number) {
    const auto made = new_device();
    fake.answer_serial(fake_device_library::scripted_failure, "SN-1");
    EXPECT_EQ(made->get_serial_number(), "");
    EXPECT_EQ(fake.live_buffers(), 0);
}

TEST_F(device_object, reads_a_null_serial_number_as_empty) {
    const auto made = new_device();
    fake.answer_serial(1, std::nullopt);
    EXPECT_EQ(made->get_serial_number(), "");
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetSerialNumber(SN-1, null)"});
}

TEST_F(device_object, frees_the_serial_number_when_memory_fails) {
    const auto made = new_device();
    fake.answer_serial(1, "a serial number that does not fit into a string object");
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(made->get_serial_number(), std::bad_alloc);
    EXPECT_EQ(fake.live_buffers(), 0);
}

TEST_F(device_object, passes_a_foreign_exception_of_the_library_through) {
    const auto made = new_device();
    fake.fail_function("VemraPKICryptoGetSerialNumber", 1, fault::throwing_int());
    EXPECT_THROW(made->get_serial_number(), int);
    EXPECT_EQ(made->get_serial_number(), "SN-1");
}

TEST_F(device_object, lives_as_long_as_an_owner_of_its_handle) {
    const auto owner = device::own(new_handle());
    { const device made(owner); }
    EXPECT_EQ(fake.live_devices(), 1);
}

struct operation {
    const char* name;
    std::function<void(device&)> call;
};

std::vector<operation> locking_operations() {
    static const certificate wanted("A", 1);
    return {
        {"get_serial_number", [](device& d) { d.get_serial_number(); }},
        {"get_keypairs", [](device& d) { d.get_keypairs(); }},
        {"has_certificate", [](device& d) { d.has_certificate(wanted); }},
        {"load", [](device& d) { d.load(); }},
        {"get_data_length", [](device& d) { d.get_data_length(8130); }},
        {"has_data", [](device& d) { d.has_data(8130); }},
        {"get_data", [](device& d) { d.get_data(8130); }},
        {"set_data", [](device& d) { d.set_data(8130, "abc", 3); }},
        {"delete_data", [](device& d) { d.delete_data(8130); }},
    };
}

TEST_F(device_object, locks_exactly_once_in_every_locking_operation) {
    fake.add_keypair("SN-1", {"A"});
    fake.fill_slot(8130, "wxyz");
    const auto made = new_device();
    for (const operation& each : locking_operations()) {
        const lock_watch watch(*made);
        each.call(*made);
        EXPECT_EQ(watch.count(), 1) << each.name;
    }
}

TEST_F(device_object, does_not_lock_to_tell_its_type) {
    const auto made = new_device();
    const lock_watch watch(*made);
    made->get_type();
    EXPECT_EQ(watch.count(), 0);
}

TEST_F(device_object, fails_with_a_system_error_and_touches_nothing_when_the_mutex_fails) {
    const auto made = new_device();
    for (const operation& each : locking_operations()) {
        fake.clear_calls();
        lock_watch watch(*made);
        watch.fail_with(EINVAL);
        EXPECT_THROW(each.call(*made), std::system_error) << each.name;
        EXPECT_EQ(fake.calls(), calls_t{}) << each.name;
    }
}

TEST_F(device_object, is_unlocked_again_after_an_exception) {
    const auto made = new_device();
    for (const operation& each : locking_operations()) {
        fake.fail_call(1, fault::throwing_runtime_error());
        try {
            each.call(*made);
        } catch (const std::runtime_error&) {
        }
        fake.clear_faults();
        EXPECT_EQ(made->get_data_length(8130), 0) << each.name;
    }
}

}  // namespace
