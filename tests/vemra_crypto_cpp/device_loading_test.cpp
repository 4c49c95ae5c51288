// Enumeration of devices, their key pairs, and the search for a certificate.

#include <gtest/gtest.h>

#include <new>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"
#include "vemra_crypto_cpp/device.h"

using vemra::crypto::certificate;
using vemra::crypto::device;
using vemra::crypto::keypair;

namespace {

class device_loading : public testing::Test {
protected:
    void TearDown() override {
        allocation_faults::stop();
        EXPECT_EQ(fake.misuses(), calls_t{});
        EXPECT_EQ(fake.live_handles_and_buffers(), 0);
    }

    void add_device_with_two_keypairs() {
        fake.add_device("SN-1", 3);
        fake.add_keypair("SN-1", {"A", "B"});
        fake.add_keypair("SN-1", {"C"});
    }
    VEMRA_PKI_DEVICE_HANDLE_st* new_handle() {
        VEMRA_PKI_DEVICE_HANDLE_st* handle =
            VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
        fake.clear_calls();
        return handle;
    }

    fake_device_library fake;
};

TEST_F(device_loading, without_a_device_is_an_empty_list) {
    EXPECT_TRUE(device::get_all_devices(-1, 0).empty());
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetAllDevices(-1, 0)"});
}

TEST_F(device_loading, without_a_list_is_an_empty_list) {
    fake.add_device("SN-1");
    fake.fail_function("VemraPKICryptoGetAllDevices", 1);
    EXPECT_TRUE(device::get_all_devices(-1, 0).empty());
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetAllDevices(-1, 0)"});
}

TEST_F(device_loading, with_a_count_below_one_is_an_empty_list) {
    fake.add_device("SN-1");
    for (const int count : {0, -1, -2147483647 - 1}) {
        fake.clear_calls();
        fake.answer_device_count(count);
        EXPECT_TRUE(device::get_all_devices(-1, 0).empty());
        EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICryptoGetAllDevices(-1, 0)",
                                         "VemraPKICryptoGetDeviceCount(list)"}));
    }
}

TEST_F(device_loading, passes_type_and_flags_on) {
    device::get_all_devices(5, 9);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetAllDevices(5, 9)"});
}

TEST_F(device_loading, lists_the_devices_in_the_order_of_the_library) {
    fake.add_device("SN-B");
    fake.add_device("SN-A");
    const auto devices = device::get_all_devices(-1, 0);
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0]->get_serial_number(), "SN-B");
    EXPECT_EQ(devices[1]->get_serial_number(), "SN-A");
}

TEST_F(device_loading, loads_each_device_before_it_asks_for_the_next) {
    add_device_with_two_keypairs();
    fake.add_device("SN-2");
    const auto devices = device::get_all_devices(-1, 0);
    EXPECT_EQ(
        fake.calls(),
        (calls_t{
            "VemraPKICryptoGetAllDevices(-1, 0)", "VemraPKICryptoGetDeviceCount(list)",
            "VemraPKICryptoGetDevice(list, 0)", "VemraPKICryptoGetKeypairCount(SN-1)",
            "VemraPKICryptoGetKeypair(SN-1, 0)", "VemraPKICryptoGetCertificateCount(SN-1/key 0)",
            "VemraPKICryptoGetCertificate(SN-1/key 0, 0, null)",
            "VemraPKICryptoGetCertificate(SN-1/key 0, 1, null)",
            "VemraPKICryptoGetKeypair(SN-1, 1)", "VemraPKICryptoGetCertificateCount(SN-1/key 1)",
            "VemraPKICryptoGetCertificate(SN-1/key 1, 0, null)", "VemraPKICryptoGetDevice(list, 1)",
            "VemraPKICryptoGetKeypairCount(SN-2)"}));
}

TEST_F(device_loading, lists_a_device_whose_handle_is_null) {
    fake.add_null_device();
    {
        const auto devices = device::get_all_devices(-1, 0);
        ASSERT_EQ(devices.size(), 1U);
        EXPECT_EQ(devices[0]->get_handle(), nullptr);
    }
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeDevice"), calls_t{"VemraPKICryptoFreeDevice(null)"});
}

TEST_F(device_loading, gives_every_device_a_shared_owner) {
    fake.add_device("SN-1");
    const auto devices = device::get_all_devices(-1, 0);
    EXPECT_EQ(devices[0]->shared_from_this(), devices[0]);
}

TEST_F(device_loading, takes_the_lock_of_each_new_device_only) {
    add_device_with_two_keypairs();
    const auto first = device::get_all_devices(-1, 0);
    const lock_watch watch(*first[0]);
    const auto second = device::get_all_devices(-1, 0);
    EXPECT_EQ(watch.count(), 0);
}

TEST_F(device_loading, without_memory_for_a_device_releases_its_handle) {
    fake.add_device("SN-1");
    allocation_faults::fail_nothrow(1);
    EXPECT_THROW(device::get_all_devices(-1, 0), std::bad_alloc);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeDevice"), calls_t{"VemraPKICryptoFreeDevice(SN-1)"});
}

TEST_F(device_loading, without_memory_for_the_second_device_releases_both) {
    fake.add_device("SN-1");
    fake.add_device("SN-2");
    allocation_faults::fail_nothrow(2);
    EXPECT_THROW(device::get_all_devices(-1, 0), std::bad_alloc);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeDevice"),
              (calls_t{"VemraPKICryptoFreeDevice(SN-2)", "VemraPKICryptoFreeDevice(SN-1)"}));
}

TEST_F(device_loading, without_memory_for_a_keypair_releases_its_handle) {
    add_device_with_two_keypairs();
    allocation_faults::fail_nothrow(2);
    EXPECT_THROW(device::get_all_devices(-1, 0), std::bad_alloc);
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFree"),
              (calls_t{"VemraPKICryptoFreeKeypair(SN-1/key 0)", "VemraPKICryptoFreeDevice(SN-1)"}));
}

TEST_F(device_loading, loses_no_handle_whatever_allocation_fails) {
    add_device_with_two_keypairs();
    for (int n = 1;; ++n) {
        allocation_faults::fail_throwing(n);
        bool has_thrown = false;
        try {
            device::get_all_devices(-1, 0);
        } catch (const std::bad_alloc&) {
            has_thrown = true;
        }
        const bool has_fired = allocation_faults::fired();
        allocation_faults::stop();
        ASSERT_EQ(has_thrown, has_fired) << "allocation " << n;
        ASSERT_EQ(fake.live_handles_and_buffers(), 0) << "allocation " << n;
        if (!has_fired) break;
    }
}

TEST_F(device_loading, destroys_the_devices_built_so_far_when_the_library_throws) {
    fake.add_device("SN-1");
    fake.add_device("SN-2");
    fake.fail_function("VemraPKICryptoGetKeypairCount", 2, fault::throwing_runtime_error());
    EXPECT_THROW(device::get_all_devices(-1, 0), std::runtime_error);
    EXPECT_EQ(fake.live_devices(), 0);
}

TEST_F(device_loading, without_keypairs_changes_nothing) {
    fake.add_device("SN-1");
    const auto made = std::make_shared<device>(new_handle(), false);
    made->load();
    EXPECT_TRUE(made->get_keypairs().empty());
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetKeypairCount(SN-1)"});
}

TEST_F(device_loading, without_a_shared_owner_is_a_bad_weak_ptr_before_a_keypair_is_made) {
    add_device_with_two_keypairs();
    device made(new_handle(), false);
    EXPECT_THROW(made.load(), std::bad_weak_ptr);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetKeypairCount(SN-1)"});
}

TEST_F(device_loading, without_keypairs_needs_no_shared_owner) {
    fake.add_device("SN-1");
    device made(new_handle(), false);
    EXPECT_NO_THROW(made.load());
}

TEST_F(device_loading, lists_every_keypair_twice_when_called_twice) {
    add_device_with_two_keypairs();
    const auto made = std::make_shared<device>(new_handle(), false);
    made->load();
    made->load();
    EXPECT_EQ(made->get_keypairs().size(), 4U);
}

TEST_F(device_loading, lists_a_keypair_whose_handle_is_null) {
    add_device_with_two_keypairs();
    const auto made = std::make_shared<device>(new_handle(), false);
    fake.fail_function("VemraPKICryptoGetKeypair", 1);
    made->load();
    ASSERT_EQ(made->get_keypairs().size(), 2U);
    EXPECT_EQ(made->get_keypairs()[0]->get_handle(), nullptr);
}

TEST_F(device_loading, builds_a_tree_that_is_released_from_the_leaves) {
    add_device_with_two_keypairs();
    auto made = std::make_shared<device>(new_handle(), false);
    made->load();
    fake.clear_calls();
    made.reset();
    EXPECT_EQ(fake.calls(),
              (calls_t{"VemraPKICertFreeCert(SN-1/key 0/certificate 0)",
                       "VemraPKICertFreeCert(SN-1/key 0/certificate 1)",
                       "VemraPKICryptoFreeKeypair(SN-1/key 0)",
                       "VemraPKICertFreeCert(SN-1/key 1/certificate 0)",
                       "VemraPKICryptoFreeKeypair(SN-1/key 1)", "VemraPKICryptoFreeDevice(SN-1)"}));
}

TEST_F(device_loading, builds_keypairs_that_do_not_keep_the_device_alive) {
    add_device_with_two_keypairs();
    auto made = std::make_shared<device>(new_handle(), false);
    made->load();
    const auto kept = made->get_keypairs().front();
    made.reset();
    EXPECT_EQ(fake.live_devices(), 0);
    EXPECT_EQ(fake.live_keypairs(), 1);
}

class certificate_search : public device_loading {
protected:
    void SetUp() override { add_device_with_two_keypairs(); }

    // True if a loaded device has a certificate with these bytes.
    bool finds(const std::string& der) {
        const auto made = std::make_shared<device>(new_handle(), false);
        made->load();
        const certificate wanted(der.data(), der.size());
        fake.clear_calls();
        const bool found = made->has_certificate(wanted);
        compared = fake.calls_of("VemraPKICertEqual");
        return found;
    }

    calls_t compared;
};

TEST_F(certificate_search, looks_through_the_keypairs_in_order) {
    EXPECT_TRUE(finds("C"));
    EXPECT_EQ(compared, (calls_t{"VemraPKICertEqual(SN-1/key 0/certificate 0, certificate)",
                                 "VemraPKICertEqual(SN-1/key 0/certificate 1, certificate)",
                                 "VemraPKICertEqual(SN-1/key 1/certificate 0, certificate)"}));
}

TEST_F(certificate_search, ends_at_the_first_keypair_that_has_it) {
    EXPECT_TRUE(finds("A"));
    EXPECT_EQ(compared, calls_t{"VemraPKICertEqual(SN-1/key 0/certificate 0, certificate)"});
}

TEST_F(certificate_search, finds_nothing_that_is_not_there) {
    EXPECT_FALSE(finds("D"));
    EXPECT_EQ(compared.size(), 3U);
}

TEST_F(certificate_search, finds_nothing_in_a_device_without_keypairs) {
    const auto made = std::make_shared<device>(new_handle(), false);
    EXPECT_FALSE(made->has_certificate(certificate("A", 1)));
}

TEST_F(certificate_search, does_not_ask_a_keypair_whose_handle_is_null) {
    fake.fail_function("VemraPKICryptoGetKeypair", 1);
    const auto made = std::make_shared<device>(new_handle(), false);
    made->load();
    const lock_watch watch(*made->get_keypairs().front());
    EXPECT_TRUE(made->has_certificate(certificate("C", 1)));
    EXPECT_EQ(watch.count(), 0);
}

TEST_F(certificate_search, locks_each_keypair_once) {
    const auto made = std::make_shared<device>(new_handle(), false);
    made->load();
    const lock_watch watch(*made->get_keypairs().front());
    made->has_certificate(certificate("C", 1));
    EXPECT_EQ(watch.count(), 1);
}

}  // namespace
