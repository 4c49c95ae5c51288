#include <set>
#include <thread>

#include "token_fixture.h"

using namespace softtoken_test;

TEST(softtoken_errors, every_code_has_a_text_of_its_own) {
    std::set<std::string> texts{VemraPKIGetErrorMsg(1), VemraPKIGetErrorMsg(-7)};
    for (int code = -101; code >= -125; --code)
        texts.insert(VemraPKIGetErrorMsg(code));
    EXPECT_EQ(texts.size(), 27U);
    EXPECT_EQ(texts.count("unknown error"), 0U);
    for (const std::string& text : texts) {
        EXPECT_NE(text, "");
        EXPECT_NE(text.back(), '.');
        for (char byte : text)
            EXPECT_TRUE(byte >= ' ' && byte < 0x7f) << text;
    }
}

TEST(softtoken_errors, unknown_code_has_a_text_too) {
    for (int code : {0, -1, 2, -126, -1000000, 2147483647}) {
        EXPECT_STREQ(VemraPKIGetErrorMsg(code), "unknown error");
    }
}

TEST(softtoken_errors, fresh_thread_has_no_failure) {
    std::thread([] { EXPECT_EQ(VemraPKIGetLastError(), 1); }).join();
}

TEST(softtoken_errors, last_error_belongs_to_its_thread) {
    ASSERT_EQ(VemraPKICryptoFreeDevice(nullptr), -101);
    std::thread([] {
        ASSERT_EQ(VemraPKICryptoHashFinal(nullptr, nullptr, nullptr), -101);
        ASSERT_EQ(VemraPKICertNewCert("x", 1), nullptr);
        EXPECT_EQ(VemraPKIGetLastError(), -118);
    }).join();
    EXPECT_EQ(VemraPKIGetLastError(), -101);
}

TEST(softtoken_errors, success_leaves_the_last_error) {
    ASSERT_EQ(VemraPKICryptoFreeDevice(nullptr), -101);
    device_owner pseudo(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice);
    EXPECT_EQ(VemraPKICryptoGetType(pseudo.get()), 0);
    EXPECT_EQ(VemraPKIGetLastError(), -101);
}

TEST(softtoken_null_handles, list_functions_answer_with_an_error) {
    EXPECT_EQ(VemraPKICryptoGetDeviceCount(nullptr), -101);
    EXPECT_EQ(VemraPKICryptoGetDevice(nullptr, 0), nullptr);
}

TEST(softtoken_null_handles, device_functions_answer_with_an_error) {
    char* text = nullptr;
    int retries = 0;
    EXPECT_EQ(VemraPKICryptoDupDevice(nullptr), nullptr);
    EXPECT_EQ(VemraPKICryptoFreeDevice(nullptr), -101);
    EXPECT_EQ(VemraPKICryptoGetType(nullptr), -1);
    EXPECT_EQ(VemraPKIGetLastError(), -101);
    EXPECT_EQ(VemraPKICryptoGetSerialNumber(nullptr, &text), -101);
    EXPECT_EQ(VemraPKICryptoVerifyPwd(nullptr, 1, password, &retries), -101);
}

TEST(softtoken_null_handles, of_devices_give_neither_key_pairs_nor_hashes) {
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(nullptr), -101);
    EXPECT_EQ(VemraPKICryptoGetKeypair(nullptr, 0), nullptr);
    EXPECT_EQ(VemraPKICryptoNewHash(nullptr, 0x7000), nullptr);
}

TEST(softtoken_null_handles, slot_functions_answer_with_an_error) {
    unsigned char byte = 0;
    int number = 0;
    EXPECT_EQ(VemraPKICryptoGetDataLength(nullptr, 8130, &number), -101);
    EXPECT_EQ(VemraPKICryptoReadData(nullptr, 8130, &byte, 1, &number), -101);
    EXPECT_EQ(create_slot(nullptr, 8130, 1), -101);
    EXPECT_EQ(VemraPKICryptoWriteData(nullptr, 8130, &byte, 1), -101);
    EXPECT_EQ(VemraPKICryptoDeleteData(nullptr, 8130), -101);
}

TEST(softtoken_null_handles, key_pair_functions_answer_with_an_error) {
    VEMRA_CERT_st* certificate = nullptr;
    EXPECT_EQ(VemraPKICryptoDupKeypair(nullptr), nullptr);
    EXPECT_EQ(VemraPKICryptoFreeKeypair(nullptr), -101);
    EXPECT_EQ(VemraPKICryptoGetCertificateCount(nullptr), -101);
    EXPECT_EQ(VemraPKICryptoGetCertificate(nullptr, 0, &certificate), -101);
}

TEST(softtoken_null_handles, certificate_functions_answer_with_an_error) {
    unsigned char* bytes = nullptr;
    int number = 0;
    EXPECT_EQ(VemraPKICertNewCert(nullptr, 5), nullptr);
    EXPECT_EQ(VemraPKICertDupCert(nullptr), nullptr);
    EXPECT_EQ(VemraPKICertFreeCert(nullptr), -101);
    EXPECT_EQ(VemraPKICertEqual(nullptr, nullptr), -101);
    EXPECT_EQ(VemraPKICertGetCertEncode(nullptr, 1, &bytes, &number), -101);
}

TEST(softtoken_null_handles, hash_functions_answer_with_an_error) {
    unsigned char* bytes = nullptr;
    int number = 0;
    EXPECT_EQ(VemraPKICryptoHashUpdate(nullptr, "x", 1), -101);
    EXPECT_EQ(VemraPKICryptoHashFinal(nullptr, &bytes, &number), -101);
    EXPECT_EQ(VemraPKICryptoFreeHash(nullptr), -101);
}

TEST(softtoken_null_handles, freeing_no_memory_is_no_failure) {
    EXPECT_EQ(VemraPKICryptoFreeMemory(nullptr), 1);
}
