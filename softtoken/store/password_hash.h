/** A salted slow hash of a password (scrypt). */
#pragma once

#include <string>
#include <string_view>

namespace vemra::softtoken {

/* The base-2 logarithm of scrypt's N: 2^15 rounds over 32 MiB, three times. */
constexpr int default_password_cost = 15;
constexpr int lowest_password_cost = 1;
constexpr int highest_password_cost = 20;

/* Salt and hash are bytes, as they are stored. */
struct password_hash {
    int cost = default_password_cost;
    std::string salt;
    std::string hash;
};

/* A hash with a fresh salt. Takes as long as its cost says. */
password_hash hash_password(std::string_view password, int cost);

/* Hashes the password as the stored one was, and compares in constant time. */
bool matches(const password_hash& stored, std::string_view password);

}  // namespace vemra::softtoken
