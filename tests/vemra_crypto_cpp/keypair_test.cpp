#include "vemra_crypto_cpp/keypair.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <system_error>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"

using vemra::crypto::certificate;
using vemra::crypto::device;
using vemra::crypto::encode_format_t;
using vemra::crypto::keypair;

namespace {

bool gives_null_certificates = false;

}  // namespace

extern "C" {
int __real_VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index,
                                        VEMRA_CERT_st** out);
int __wrap_VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index,
                                        VEMRA_CERT_st** out);
int __wrap_VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index,
                                        VEMRA_CERT_st** out) {
    if (gives_null_certificates) return 1;
    return __real_VemraPKICryptoGetCertificate(keypair, index, out);
}
}

namespace {

const std::weak_ptr<device> no_device;

class keypair_of : public testing::Test {
protected:
    void SetUp() override {
        fake.add_device("SN-1");
        fake.add_keypair("SN-1", {"A", "B", "C"});
        fake.add_keypair("SN-1", {});
        device_ = VemraPKICryptoGetDevice(VemraPKICryptoGetAllDevices(-1, 0), 0);
    }
    void TearDown() override {
        gives_null_certificates = false;
        allocation_faults::stop();
        VemraPKICryptoFreeDevice(device_);
        EXPECT_EQ(fake.live_handles_and_buffers(), 0);
        EXPECT_EQ(fake.misuses(), calls_t{});
    }

    VEMRA_PrivKey_Handle_st* new_handle(int index) {
        VEMRA_PrivKey_Handle_st* handle = VemraPKICryptoGetKeypair(device_, index);
        fake.clear_calls();
        return handle;
    }
    std::shared_ptr<keypair> new_keypair(int index) {
        return std::make_shared<keypair>(no_device, new_handle(index), false);
    }
    static std::string encodings_of(const keypair& pair) {
        std::string all;
        for (const auto& item : pair.get_certificates()) {
            all += item->get_encode(encode_format_t::der);
        }
        return all;
    }

    fake_device_library fake;
    VEMRA_PKI_DEVICE_HANDLE_st* device_ = nullptr;
};

TEST_F(keypair_of, a_handle_takes_it) {
    VEMRA_PrivKey_Handle_st* handle = new_handle(0);
    { EXPECT_EQ(keypair(no_device, handle, false).get_handle(), handle); }
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoFreeKeypair(SN-1/key 0)"});
}

TEST_F(keypair_of, a_duplicate_leaves_the_handle_to_the_caller) {
    VEMRA_PrivKey_Handle_st* handle = new_handle(0);
    { EXPECT_NE(keypair(no_device, handle, true).get_handle(), handle); }
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICryptoDupKeypair(SN-1/key 0)",
                                     "VemraPKICryptoFreeKeypair(SN-1/key 0)"}));
    EXPECT_EQ(fake.live_keypairs(), 1);
    VemraPKICryptoFreeKeypair(handle);
}

TEST_F(keypair_of, a_null_handle_frees_it_once) {
    fake.clear_calls();
    { const keypair pair(no_device, nullptr, false); }
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoFreeKeypair(null)"});
}

TEST_F(keypair_of, a_handle_frees_it_at_once_when_memory_fails) {
    VEMRA_PrivKey_Handle_st* handle = new_handle(0);
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(keypair(no_device, handle, false), std::bad_alloc);
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoFreeKeypair(SN-1/key 0)"});
}

TEST_F(keypair_of, a_handle_starts_without_certificates) {
    const auto pair = new_keypair(0);
    EXPECT_TRUE(pair->get_certificates().empty());
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(keypair_of, three_certificates_lists_them_in_order) {
    const auto pair = new_keypair(0);
    pair->load();
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICryptoGetCertificateCount(SN-1/key 0)",
                                     "VemraPKICryptoGetCertificate(SN-1/key 0, 0, null)",
                                     "VemraPKICryptoGetCertificate(SN-1/key 0, 1, null)",
                                     "VemraPKICryptoGetCertificate(SN-1/key 0, 2, null)"}));
    EXPECT_EQ(encodings_of(*pair), "ABC");
}

TEST_F(keypair_of, no_certificates_has_an_empty_list) {
    const auto pair = new_keypair(1);
    pair->load();
    EXPECT_TRUE(pair->get_certificates().empty());
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICryptoGetCertificateCount(SN-1/key 1)"});
}

TEST_F(keypair_of, a_certificate_that_cannot_be_read_lists_the_others_in_their_order) {
    const auto pair = new_keypair(0);
    fake.fail_function("VemraPKICryptoGetCertificate", 2);
    pair->load();
    EXPECT_EQ(encodings_of(*pair), "AC");
}

TEST_F(keypair_of, certificates_loaded_twice_lists_them_twice) {
    const auto pair = new_keypair(0);
    pair->load();
    pair->load();
    EXPECT_EQ(encodings_of(*pair), "ABCABC");
}

TEST_F(keypair_of, certificates_without_a_shared_owner_cannot_load) {
    keypair pair(no_device, new_handle(0), false);
    EXPECT_THROW(pair.load(), std::bad_weak_ptr);
    EXPECT_EQ(fake.live_certificates(), 0);
}

TEST_F(keypair_of, no_certificates_without_a_shared_owner_loads) {
    keypair pair(no_device, new_handle(1), false);
    EXPECT_NO_THROW(pair.load());
}

TEST_F(keypair_of, certificates_without_memory_for_one_releases_its_handle) {
    const auto pair = new_keypair(0);
    allocation_faults::fail_nothrow(2);
    EXPECT_THROW(pair->load(), std::bad_alloc);
    EXPECT_EQ(fake.live_certificates(), 1);
    EXPECT_EQ(encodings_of(*pair), "A");
}

TEST_F(keypair_of, certificates_loses_no_handle_whatever_allocation_fails) {
    for (int n = 1;; ++n) {
        const auto pair = new_keypair(0);
        allocation_faults::fail_throwing(n);
        bool has_thrown = false;
        try {
            pair->load();
        } catch (const std::bad_alloc&) {
            has_thrown = true;
        }
        const bool has_fired = allocation_faults::fired();
        allocation_faults::stop();
        ASSERT_EQ(has_thrown, has_fired) << "allocation " << n;
        ASSERT_EQ(static_cast<std::size_t>(fake.live_certificates()),
                  pair->get_certificates().size());
        if (!has_fired) break;
    }
}

TEST_F(keypair_of, certificates_releases_them_before_itself) {
    auto pair = new_keypair(0);
    pair->load();
    fake.clear_calls();
    pair.reset();
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICertFreeCert(SN-1/key 0/certificate 0)",
                                     "VemraPKICertFreeCert(SN-1/key 0/certificate 1)",
                                     "VemraPKICertFreeCert(SN-1/key 0/certificate 2)",
                                     "VemraPKICryptoFreeKeypair(SN-1/key 0)"}));
}

TEST_F(keypair_of, certificates_is_not_kept_alive_by_them) {
    auto pair = new_keypair(0);
    pair->load();
    const auto kept = pair->get_certificates().front();
    pair.reset();
    EXPECT_EQ(fake.live_keypairs(), 0);
    EXPECT_EQ(fake.live_certificates(), 1);
}

TEST_F(keypair_of, certificates_has_an_equal_one) {
    const auto pair = new_keypair(0);
    pair->load();
    const certificate wanted("B", 1);
    fake.clear_calls();
    EXPECT_TRUE(pair->has_certificate(wanted));
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICertEqual(SN-1/key 0/certificate 0, certificate)",
                                     "VemraPKICertEqual(SN-1/key 0/certificate 1, certificate)"}));
}

TEST_F(keypair_of, other_certificates_has_none) {
    const auto pair = new_keypair(0);
    pair->load();
    EXPECT_FALSE(pair->has_certificate(certificate("D", 1)));
}

TEST_F(keypair_of, no_certificates_has_none) {
    EXPECT_FALSE(new_keypair(1)->has_certificate(certificate("A", 1)));
}

TEST_F(keypair_of, null_certificates_skips_them) {
    const auto pair = new_keypair(0);
    gives_null_certificates = true;
    pair->load();
    ASSERT_EQ(pair->get_certificates().size(), 3U);
    const certificate none("", 0);
    fake.clear_calls();
    EXPECT_FALSE(pair->has_certificate(none));
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(keypair_of, certificates_locks_once_in_each_operation) {
    const auto pair = new_keypair(0);
    const certificate wanted("A", 1);
    const lock_watch watch(*pair);
    pair->load();
    EXPECT_EQ(watch.count(), 1);
    pair->has_certificate(wanted);
    EXPECT_EQ(watch.count(), 2);
    pair->get_certificates();
    EXPECT_EQ(watch.count(), 3);
}

TEST_F(keypair_of, certificates_cannot_be_used_when_the_mutex_fails) {
    const auto pair = new_keypair(0);
    const certificate wanted("A", 1);
    lock_watch watch(*pair);
    watch.fail_with(EINVAL);
    EXPECT_THROW(pair->load(), std::system_error);
    EXPECT_THROW(pair->has_certificate(wanted), std::system_error);
    EXPECT_THROW(pair->get_certificates(), std::system_error);
}

}  // namespace
