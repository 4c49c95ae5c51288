#include "store/certificate.h"

#include <openssl/err.h>
#include <openssl/x509.h>

#include "store/failure.h"
#include "store/key_table.h"
#include "token_fixture.h"

using namespace softtoken_test;

namespace {

using keypair_owner = std::unique_ptr<VEMRA_PrivKey_Handle_st, int (*)(VEMRA_PrivKey_Handle_st*)>;
using certificate_owner = std::unique_ptr<VEMRA_CERT_st, int (*)(VEMRA_CERT_st*)>;

certificate_owner certificate_from(const std::string& der) {
    return {VemraPKICertNewCert(der.data(), der.size()), VemraPKICertFreeCert};
}

std::string encoded(VEMRA_CERT_st* certificate, int format) {
    unsigned char* bytes = nullptr;
    int length = 0;
    int result = VemraPKICertGetCertEncode(certificate, format, &bytes, &length);
    if (result != 1) return "failed: " + std::to_string(result);
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    VemraPKICryptoFreeMemory(bytes);
    return text;
}

}  // namespace

class softtoken_certificates : public token_test {
protected:
    softtoken_certificates() {
        make_token("one");
        vemra::softtoken::token_database database(directory("one") + "/token.db");
        vemra::softtoken::key_table keys(database.connection());
        store(keys, first_);
        store(keys, second_);
        device_ = device_at();
    }
    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }
    keypair_owner keypair(int index) const {
        return {VemraPKICryptoGetKeypair(device(), index), VemraPKICryptoFreeKeypair};
    }
    certificate_owner certificate(VEMRA_PrivKey_Handle_st* keypair, int index) const {
        VEMRA_CERT_st* found = nullptr;
        VemraPKICryptoGetCertificate(keypair, index, &found);
        return {found, VemraPKICertFreeCert};
    }

    const vemra::softtoken::made_certificate first_ =
        vemra::softtoken::make_certificate("First", 30);
    const vemra::softtoken::made_certificate second_ =
        vemra::softtoken::make_certificate("Second", 30);

private:
    static void store(vemra::softtoken::key_table& keys,
                      const vemra::softtoken::made_certificate& made) {
        auto row = keys.add_keypair(vemra::softtoken::public_key_of(made.der), made.private_key);
        keys.add_certificate(row, made.der);
    }
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_certificates, key_pairs_and_certificates_come_in_their_order) {
    ASSERT_EQ(VemraPKICryptoGetKeypairCount(device()), 2);
    ASSERT_EQ(VemraPKICryptoGetCertificateCount(keypair(1).get()), 1);
    EXPECT_EQ(encoded(certificate(keypair(0).get(), 0).get(), 1), first_.der);
    EXPECT_EQ(encoded(certificate(keypair(1).get(), 0).get(), 1), second_.der);
}

TEST_F(softtoken_certificates, missing_index_is_answered_with_an_error) {
    EXPECT_EQ(keypair(2), nullptr);
    EXPECT_EQ(keypair(-1), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), -114);
    VEMRA_CERT_st* out = nullptr;
    EXPECT_EQ(VemraPKICryptoGetCertificate(keypair(0).get(), 1, &out), -114);
    EXPECT_EQ(VemraPKICryptoGetCertificate(keypair(0).get(), -1, &out), -114);
    EXPECT_EQ(out, nullptr);
}

TEST_F(softtoken_certificates, duplicated_key_pair_outlives_the_first) {
    keypair_owner first = keypair(0);
    keypair_owner second(VemraPKICryptoDupKeypair(first.get()), VemraPKICryptoFreeKeypair);
    first.reset();
    EXPECT_EQ(encoded(certificate(second.get(), 0).get(), 1), first_.der);
}

TEST_F(softtoken_certificates, equal_certificates_are_equal_whatever_their_handles) {
    certificate_owner stored = certificate(keypair(0).get(), 0);
    EXPECT_EQ(VemraPKICertEqual(stored.get(), certificate_from(first_.der).get()), 1);
    EXPECT_NE(VemraPKICertEqual(stored.get(), certificate_from(second_.der).get()), 1);
    certificate_owner copy(VemraPKICertDupCert(stored.get()), VemraPKICertFreeCert);
    EXPECT_EQ(VemraPKICertEqual(stored.get(), copy.get()), 1);
}

TEST_F(softtoken_certificates, bytes_that_are_no_certificate_give_null) {
    EXPECT_EQ(certificate_from("no certificate"), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), -118);
    EXPECT_EQ(certificate_from(first_.der + "x"), nullptr);
    EXPECT_EQ(certificate_from(first_.der.substr(0, 50)), nullptr);
    EXPECT_EQ(certificate_from(""), nullptr);
}

TEST_F(softtoken_certificates, failures_leave_the_programs_openssl_errors_alone) {
    ERR_raise(ERR_LIB_USER, 77);
    EXPECT_EQ(certificate_from("no certificate"), nullptr);
    EXPECT_THROW(vemra::softtoken::certificates_from_any("nor this"), vemra::softtoken::failure);
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 77);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST_F(softtoken_certificates, private_key_is_kept_as_pkcs_8) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(first_.private_key.data());
    std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> key(
        d2i_PKCS8_PRIV_KEY_INFO(nullptr, &bytes, static_cast<long>(first_.private_key.size())),
        PKCS8_PRIV_KEY_INFO_free);
    EXPECT_NE(key, nullptr);
    EXPECT_EQ(vemra::softtoken::public_half_of(first_.private_key),
              vemra::softtoken::public_key_of(first_.der));
}

TEST_F(softtoken_certificates, format_1_is_der_and_format_2_is_pem) {
    certificate_owner certificate = certificate_from(first_.der);
    EXPECT_EQ(encoded(certificate.get(), 1), first_.der);
    std::string pem = encoded(certificate.get(), 2);
    EXPECT_EQ(pem.rfind("-----BEGIN CERTIFICATE-----\n", 0), 0U);
    EXPECT_EQ(vemra::softtoken::certificates_from_any(pem).front(), first_.der);
    EXPECT_EQ(encoded(certificate.get(), 3), "failed: -117");
}

TEST_F(softtoken_certificates, key_pair_of_an_unplugged_token_answers_removed) {
    keypair_owner kept = keypair(0);
    detach("one");
    EXPECT_EQ(VemraPKICryptoGetCertificateCount(kept.get()), removed);
    VEMRA_CERT_st* out = nullptr;
    EXPECT_EQ(VemraPKICryptoGetCertificate(kept.get(), 0, &out), removed);
    attach("one");
    EXPECT_EQ(VemraPKICryptoGetCertificateCount(kept.get()), 1);
}
