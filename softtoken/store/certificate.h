/** X.509 certificates as DER bytes, worked on through OpenSSL. Nothing of OpenSSL's is kept. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vemra::softtoken {

/* The bytes of exactly one certificate; throws bad_certificate for anything else. */
std::string certificate_from_der(std::string_view der);
/*
 * One certificate as DER, or all of those in PEM text, in their order: a chain is several. What
 * else the text holds is passed over; throws bad_certificate when one of them is none, or there is
 * none.
 */
std::vector<std::string> certificates_from_any(std::string_view bytes);

/* The rest takes certificates as DER, and throws bad_certificate for what is none. */
std::string certificate_to_pem(const std::string& der);
bool same_certificate(const std::string& left, const std::string& right);
/* The public key in its DER form. */
std::string public_key_of(const std::string& der);
/* The public key (DER) that belongs to a private one (DER). */
std::string public_half_of(const std::string& private_key);
/* One line for people: the subject's distinguished name. */
std::string subject_of(const std::string& der);

/* A private key and the certificate over its public half. */
struct made_certificate {
    std::string private_key; /* PKCS #8, DER */
    std::string der;
};

/* A fresh P-256 key pair and a certificate over it signed by itself. */
made_certificate make_certificate(const std::string& common_name, int days);

}  // namespace vemra::softtoken
