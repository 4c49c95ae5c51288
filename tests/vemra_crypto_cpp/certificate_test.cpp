#include "vemra_crypto_cpp/certificate.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <vector>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "support/lock_watch.h"

using vemra::crypto::certificate;
using vemra::crypto::encode_format_t;
using vemra::crypto::keypair;

namespace {

std::optional<int> comparison_answer;

}  // namespace

extern "C" {
int __real_VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right);
int __wrap_VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right);
int __wrap_VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right) {
    return comparison_answer ? *comparison_answer : __real_VemraPKICertEqual(left, right);
}
}

namespace {

const std::weak_ptr<keypair> no_pair;
const std::string no_certificate;

class certificate_of : public testing::Test {
protected:
    VEMRA_CERT_st* new_handle(const std::string& der) {
        VEMRA_CERT_st* handle = VemraPKICertNewCert(der.data(), der.size());
        fake.clear_calls();
        return handle;
    }
    certificate from(const std::string& der) { return certificate(der.data(), der.size()); }

    fake_device_library fake;
};

TEST_F(certificate_of, der_bytes_passes_them_to_the_library) {
    { const certificate made("\x30\x01", 2); }
    EXPECT_EQ(fake.calls(),
              (calls_t{"VemraPKICertNewCert(30 01, 2)", "VemraPKICertFreeCert(certificate)"}));
}

TEST_F(certificate_of, bytes_that_are_none_has_a_null_handle) {
    const certificate made("", 0);
    EXPECT_EQ(made.get_handle(), nullptr);
}

TEST_F(certificate_of, a_null_handle_frees_it_once) {
    { const certificate made(no_pair, nullptr, false); }
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICertFreeCert(null)"});
}

TEST_F(certificate_of, a_handle_takes_it) {
    VEMRA_CERT_st* handle = new_handle("A");
    { EXPECT_EQ(certificate(no_pair, handle, false).get_handle(), handle); }
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICertFreeCert(certificate)"});
    EXPECT_EQ(fake.live_certificates(), 0);
}

TEST_F(certificate_of, a_duplicate_leaves_the_handle_to_the_caller) {
    VEMRA_CERT_st* handle = new_handle("A");
    { EXPECT_NE(certificate(no_pair, handle, true).get_handle(), handle); }
    EXPECT_EQ(fake.calls(),
              (calls_t{"VemraPKICertDupCert(certificate)", "VemraPKICertFreeCert(certificate)"}));
    EXPECT_EQ(fake.live_certificates(), 1);
    VemraPKICertFreeCert(handle);
    EXPECT_EQ(fake.double_frees(), 0);
}

TEST_F(certificate_of, a_handle_frees_it_at_once_when_memory_fails) {
    VEMRA_CERT_st* handle = new_handle("A");
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(certificate(no_pair, handle, false), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICertFreeCert(certificate)"});
    EXPECT_EQ(fake.live_certificates(), 0);
}

TEST_F(certificate_of, der_bytes_frees_its_handle_when_memory_fails) {
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(from("A"), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(fake.live_certificates(), 0);
    EXPECT_EQ(fake.double_frees(), 0);
}

TEST_F(certificate_of, loading_does_nothing) {
    certificate made = certificate(no_pair, nullptr, false);
    fake.clear_calls();
    made.load();
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(certificate_of, itself_is_equal_without_asking_the_library) {
    const certificate made("A", 1);
    fake.clear_calls();
    EXPECT_TRUE(made.equals(made));
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(certificate_of, the_same_handle_is_equal_without_asking_the_library) {
    const auto handle = certificate::own(new_handle("A"));
    const certificate one(no_pair, handle);
    const certificate two(no_pair, handle);
    EXPECT_TRUE(one.equals(two));
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(certificate_of, two_null_handles_is_equal_without_asking_the_library) {
    const certificate one(no_pair, nullptr, false);
    const certificate two(no_pair, nullptr, false);
    EXPECT_TRUE(one.equals(two));
    EXPECT_EQ(fake.calls(), calls_t{});
}

TEST_F(certificate_of, another_handle_is_what_the_library_says) {
    const certificate one("A", 1);
    const certificate same("A", 1);
    const certificate other("B", 1);
    fake.clear_calls();
    EXPECT_TRUE(one.equals(same));
    EXPECT_FALSE(one.equals(other));
    EXPECT_EQ(fake.calls(), (calls_t{"VemraPKICertEqual(certificate, certificate)",
                                     "VemraPKICertEqual(certificate, certificate)"}));
}

TEST_F(certificate_of, one_null_handle_asks_the_library) {
    const certificate one("A", 1);
    const certificate none(no_pair, nullptr, false);
    fake.clear_calls();
    EXPECT_FALSE(none.equals(one));
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICertEqual(null, certificate)"});
}

TEST_F(certificate_of, operators_say_what_equals_says) {
    const certificate one("A", 1);
    const certificate same("A", 1);
    const certificate other("B", 1);
    EXPECT_TRUE(one == same);
    EXPECT_FALSE(one != same);
    EXPECT_FALSE(one == other);
    EXPECT_TRUE(one != other);
}

TEST_F(certificate_of, equality_needs_the_status_one) {
    const certificate one("A", 1);
    const certificate same("A", 1);
    for (const int status : {0, -1, 2, 17}) {
        comparison_answer = status;
        EXPECT_FALSE(one.equals(same)) << status;
    }
    comparison_answer.reset();
}

TEST_F(certificate_of, encoding_keeps_zero_bytes_and_frees_the_buffer) {
    const certificate made("A\0B", 3);
    EXPECT_EQ(made.get_encode(encode_format_t::der), std::string("A\0B", 3));
    EXPECT_EQ(fake.live_buffers(), 0);
    EXPECT_EQ(fake.double_frees(), 0);
}

TEST_F(certificate_of, encoding_passes_the_number_of_the_format_and_empty_outputs) {
    const certificate made("A", 1);
    fake.clear_calls();
    made.get_encode(encode_format_t::der);
    made.get_encode(encode_format_t::pem);
    made.get_encode(encode_format_t(77));
    EXPECT_EQ(fake.calls_of("VemraPKICertGetCertEncode"),
              (calls_t{"VemraPKICertGetCertEncode(certificate, 1, null, 0)",
                       "VemraPKICertGetCertEncode(certificate, 2, null, 0)",
                       "VemraPKICertGetCertEncode(certificate, 77, null, 0)"}));
}

TEST_F(certificate_of, failed_encoding_is_the_empty_string) {
    const certificate made("A", 1);
    fake.clear_calls();
    fake.fail_function("VemraPKICertGetCertEncode", 1);
    EXPECT_EQ(made.get_encode(encode_format_t::der), "");
    EXPECT_EQ(fake.calls(), calls_t{"VemraPKICertGetCertEncode(certificate, 1, null, 0)"});
}

TEST_F(certificate_of, failed_encoding_frees_a_buffer_that_is_there) {
    const certificate made("A", 1);
    fake.answer_encoding(fake_device_library::scripted_failure, "bytes", 5);
    EXPECT_EQ(made.get_encode(encode_format_t::der), "");
    EXPECT_EQ(fake.live_buffers(), 0);
}

TEST_F(certificate_of, empty_encoding_without_a_buffer_frees_nothing) {
    const certificate made("A", 1);
    fake.answer_encoding(1, std::nullopt, 0);
    EXPECT_EQ(made.get_encode(encode_format_t::der), "");
    EXPECT_EQ(fake.calls_of("VemraPKICryptoFreeMemory"), calls_t{});
}

TEST_F(certificate_of, encoding_with_a_length_but_no_buffer_is_the_empty_string) {
    const certificate made("A", 1);
    fake.answer_encoding(1, std::nullopt, 5);
    EXPECT_EQ(made.get_encode(encode_format_t::der), "");
}

TEST_F(certificate_of, encoding_of_negative_length_is_the_empty_string_and_is_freed) {
    const certificate made("A", 1);
    fake.answer_encoding(1, "bytes", -1);
    EXPECT_EQ(made.get_encode(encode_format_t::der), "");
    EXPECT_EQ(fake.live_buffers(), 0);
}

TEST_F(certificate_of, encoding_frees_the_buffer_when_memory_fails) {
    const certificate made("A", 1);
    fake.answer_encoding(1, std::string(100, 'x'), 100);
    allocation_faults::fail_throwing(1);
    EXPECT_THROW(made.get_encode(encode_format_t::der), std::bad_alloc);
    allocation_faults::stop();
    EXPECT_EQ(fake.live_buffers(), 0);
}

TEST_F(certificate_of, comparing_and_encoding_take_no_lock) {
    const certificate made("A", 1);
    const certificate other("B", 1);
    const lock_watch watch(made);
    made.equals(other);
    made.get_encode(encode_format_t::der);
    EXPECT_EQ(watch.count(), 0);
}

}  // namespace
