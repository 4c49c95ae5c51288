#include "support/hex_text.h"
#include "token_fixture.h"

using namespace softtoken_test;

namespace {

using hash_owner = std::unique_ptr<VEMRA_PKI_HASH_HANDLE_st, int (*)(VEMRA_PKI_HASH_HANDLE_st*)>;

hash_owner new_hash(VEMRA_PKI_DEVICE_HANDLE_st* device, int algorithm = 0x7000) {
    return {VemraPKICryptoNewHash(device, algorithm), VemraPKICryptoFreeHash};
}

std::string hex_digest(VEMRA_PKI_HASH_HANDLE_st* hash) {
    unsigned char* bytes = nullptr;
    int length = 0;
    int result = VemraPKICryptoHashFinal(hash, &bytes, &length);
    if (result != 1) return "failed: " + std::to_string(result);
    const std::string digest(reinterpret_cast<const char*>(bytes),
                             static_cast<std::size_t>(length));
    VemraPKICryptoFreeMemory(bytes);
    return hex_text(digest);
}

constexpr const char* digest_of_abc =
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

}  // namespace

class softtoken_hash : public token_test {
protected:
    softtoken_hash() : pseudo_(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice) {}
    device_owner pseudo_;
};

TEST_F(softtoken_hash, algorithm_7000_is_sha_256) {
    hash_owner hash = new_hash(pseudo_.get());
    ASSERT_EQ(VemraPKICryptoHashUpdate(hash.get(), "abc", 3), 1);
    EXPECT_EQ(hex_digest(hash.get()), digest_of_abc);
}

TEST_F(softtoken_hash, token_hashes_in_pieces_like_the_pseudo_device) {
    make_token("one");
    hash_owner hash = new_hash(device_at().get());
    ASSERT_EQ(VemraPKICryptoHashUpdate(hash.get(), "a", 1), 1);
    ASSERT_EQ(VemraPKICryptoHashUpdate(hash.get(), nullptr, 0), 1);
    ASSERT_EQ(VemraPKICryptoHashUpdate(hash.get(), "bc", 2), 1);
    EXPECT_EQ(hex_digest(hash.get()), digest_of_abc);
}

TEST_F(softtoken_hash, hash_of_nothing_is_that_of_no_bytes) {
    EXPECT_EQ(hex_digest(new_hash(pseudo_.get()).get()),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST_F(softtoken_hash, another_algorithm_gives_null_and_an_error) {
    EXPECT_EQ(new_hash(pseudo_.get(), 0x7001), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), -116);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-116), "unknown algorithm");
}

TEST_F(softtoken_hash, finished_hash_takes_nothing_more) {
    hash_owner hash = new_hash(pseudo_.get());
    ASSERT_NE(hex_digest(hash.get()), "");
    EXPECT_EQ(VemraPKICryptoHashUpdate(hash.get(), "abc", 3), -119);
    EXPECT_EQ(hex_digest(hash.get()), "failed: -119");
}

TEST_F(softtoken_hash, bad_arguments_are_answered_with_an_error) {
    hash_owner hash = new_hash(pseudo_.get());
    int length = 0;
    unsigned char* out = nullptr;
    EXPECT_EQ(VemraPKICryptoHashUpdate(hash.get(), "abc", -1), -102);
    EXPECT_EQ(VemraPKICryptoHashUpdate(hash.get(), nullptr, 3), -102);
    EXPECT_EQ(VemraPKICryptoHashFinal(hash.get(), nullptr, &length), -102);
    EXPECT_EQ(VemraPKICryptoHashFinal(hash.get(), &out, nullptr), -102);
}

TEST_F(softtoken_hash, unplugged_token_makes_no_hash) {
    make_token("one");
    device_owner device = device_at();
    detach("one");
    EXPECT_EQ(new_hash(device.get()), nullptr);
    EXPECT_EQ(VemraPKIGetLastError(), removed);
}
