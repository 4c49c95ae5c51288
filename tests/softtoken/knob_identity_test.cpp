#include <unistd.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include "knob_test.h"

using namespace softtoken_test;

class softtoken_knob_identity : public knob_test {
protected:
    std::string serial() const { return serial_number_of(device()); }
    static std::vector<std::string> listed() {
        std::vector<std::string> serials;
        VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
        const int count = list == nullptr ? 0 : VemraPKICryptoGetDeviceCount(list);
        for (int index = 0; index < count; ++index) {
            device_owner each(VemraPKICryptoGetDevice(list, index), VemraPKICryptoFreeDevice);
            serials.push_back(each == nullptr ? "none" : serial_number_of(each.get()));
        }
        return serials;
    }
    // The bytes of a digest of nothing, or -1.
    int digest_size() const {
        VEMRA_PKI_HASH_HANDLE_st* hash = VemraPKICryptoNewHash(device(), 0x7000);
        if (hash == nullptr) return -1;
        unsigned char* bytes = nullptr;
        int size = 0;
        VemraPKICryptoHashFinal(hash, &bytes, &size);
        VemraPKICryptoFreeMemory(bytes);
        VemraPKICryptoFreeHash(hash);
        return size;
    }
};

TEST_F(softtoken_knob_identity, serial_number_is_any_text_or_bytes_or_none) {
    EXPECT_EQ(serial(), "SN-one");
    turn({{"serial-told", "another one"}});
    EXPECT_EQ(serial(), "another one");
    turn({{"serial-told", "hex:ff41"}});
    EXPECT_EQ(serial(),
              "\xff"
              "A");
    turn({{"serial-told", ""}});
    EXPECT_EQ(serial(), "");
}

TEST_F(softtoken_knob_identity, serial_number_is_padded) {
    turn({{"serial-padding", "blanks"}, {"serial-length", "10"}});
    EXPECT_EQ(serial(), "SN-one    ");
    turn({{"serial-padding", "nuls"}, {"serial-length", "10"}});
    char* text = nullptr;
    ASSERT_EQ(VemraPKICryptoGetSerialNumber(device(), &text), 1);
    EXPECT_EQ(std::string(text, 11), std::string("SN-one\0\0\0\0\0", 11));
    VemraPKICryptoFreeMemory(text);
}

TEST_F(softtoken_knob_identity, serial_number_changes_its_case) {
    turn({{"serial-case", "changing"}});
    const std::string first = serial();
    const std::string second = serial();
    EXPECT_EQ(first == "SN-one" ? second : first, "sn-ONE");
    EXPECT_EQ(serial(), first);
}

TEST_F(softtoken_knob_identity, type_is_any_number) {
    EXPECT_EQ(VemraPKICryptoGetType(device()), 1);
    turn({{"type-told", "-5"}});
    EXPECT_EQ(VemraPKICryptoGetType(device()), -5);
    EXPECT_NE(VemraPKICryptoGetAllDevices(-5, 0), nullptr);
    EXPECT_EQ(VemraPKICryptoGetAllDevices(1, 0), nullptr);
    detach("one");
    EXPECT_EQ(VemraPKICryptoGetType(device()), -1);
}

TEST_F(softtoken_knob_identity, digest_is_another_or_none) {
    EXPECT_EQ(digest_size(), 32);
    turn({{"digest", "SHA512"}});
    EXPECT_EQ(digest_size(), 64);
    turn({{"digest", "SHA1"}});
    EXPECT_EQ(digest_size(), 20);
    turn({{"digest", "none"}});
    EXPECT_EQ(digest_size(), -1);
    EXPECT_EQ(VemraPKIGetLastError(), -116);
}

TEST_F(softtoken_knob_identity, digest_that_cannot_be_is_refused) {
    for (const char* wrong : {"MD5", "SHAKE128", "no-such-digest"}) {
        const program_result result = run_tool(std::string("profile one --digest ") + wrong);
        EXPECT_EQ(result.status, 2) << wrong;
        EXPECT_NE(result.output.find("\"digest\""), std::string::npos) << result.output;
    }
}

TEST_F(softtoken_knob_identity, list_has_the_token_twice_or_a_null_handle) {
    EXPECT_EQ(listed(), std::vector<std::string>({"SN-one"}));
    turn({{"list-twice", "true"}});
    EXPECT_EQ(listed(), std::vector<std::string>({"SN-one", "SN-one"}));
    turn({{"list-null", "true"}});
    EXPECT_EQ(listed(), std::vector<std::string>({"none", "SN-one"}));
}

TEST_F(softtoken_knob_identity, list_changes_its_order) {
    make_token("two");
    EXPECT_EQ(listed(), listed());
    turn({{"list-order", "changing"}});
    const auto first = listed();
    const auto second = listed();
    EXPECT_NE(first, second);
    EXPECT_EQ(first, listed());
}

TEST_F(softtoken_knob_identity, list_is_stale_for_a_while_or_until_the_next_process) {
    turn({{"list-stale", "1"}});
    attached_count();
    usleep(1100000);
    EXPECT_EQ(attached_count(), 1);
    detach("one");
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(told_length(8130), removed);
    usleep(1100000);
    EXPECT_EQ(attached_count(), 0);
    turn({{"list-stale", "-1"}});
    attach("one");
    EXPECT_EQ(attached_count(), 0);
    usleep(1100000);
    EXPECT_EQ(attached_count(), 0);
    EXPECT_NE(run("exec env VEMRA_SOFTTOKEN_DIR='" + root() + "' " SOFTTOKEN_TOOL " list")
                  .output.find("attached"),
              std::string::npos);
}

TEST_F(softtoken_knob_identity, codes_are_any_numbers_and_faults_go_on_top) {
    turn({{"codes", R"({"-7": 5, "-109": 0})"}});
    EXPECT_EQ(told_length(8133), 5);
    EXPECT_EQ(VemraPKIGetLastError(), 5);
    EXPECT_EQ(write_slot(device(), 8130, "too long"), 0);
    ASSERT_EQ(run_tool("fault add one 'GetDataLength return=-7'").status, 0);
    EXPECT_EQ(told_length(8133), -7);
}

TEST_F(softtoken_knob_identity, texts_are_any_bytes_long_empty_or_null) {
    const std::string table =
        R"({"-7": "hex:ff", "-8": "", "-9": null, "-10": ")" + std::string(100000, 'x') + "\"}";
    turn({{"texts", table.c_str()}});
    EXPECT_EQ(told_length(8133), -7);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-7), "\xff");
    EXPECT_STREQ(VemraPKIGetErrorMsg(-8), "");
    EXPECT_EQ(VemraPKIGetErrorMsg(-9), nullptr);
    EXPECT_EQ(std::string(VemraPKIGetErrorMsg(-10)).size(), 100000U);
    EXPECT_STREQ(VemraPKIGetErrorMsg(-104), "device removed");
}

TEST_F(softtoken_knob_identity, last_error_is_the_threads_or_the_processs) {
    auto fails_elsewhere = [this] {
        std::thread([this] { told_length(8133); }).join();
        return VemraPKIGetLastError();
    };
    const int before = VemraPKIGetLastError();
    EXPECT_EQ(fails_elsewhere(), before);
    turn({{"last-error", "process"}});
    EXPECT_EQ(told_length(8130), 5);
    EXPECT_EQ(fails_elsewhere(), -7);
}

TEST_F(softtoken_knob_identity, last_error_is_cleared_by_success_or_never_set) {
    told_length(8133);
    told_length(8130);
    EXPECT_EQ(VemraPKIGetLastError(), -7);
    turn({{"last-error", "cleared"}});
    told_length(8133);
    EXPECT_EQ(VemraPKIGetLastError(), -7);
    told_length(8130);
    EXPECT_EQ(VemraPKIGetLastError(), 1);
    turn({{"last-error", "never"}});
    told_length(8133);
    EXPECT_EQ(VemraPKIGetLastError(), 1);
}

TEST_F(softtoken_knob_identity, named_function_throws_at_its_caller) {
    turn({{"throws", "GetDataLength"}});
    EXPECT_THROW(told_length(8130), std::runtime_error);
    std::string bytes;
    EXPECT_EQ(read(8130, 5, bytes), 1);
    turn({{"throws", "GetType"}});
    EXPECT_EQ(told_length(8130), 5);
    EXPECT_THROW(VemraPKICryptoGetType(device()), std::runtime_error);
    turn({{"throws", "NewHash"}});
    EXPECT_THROW(VemraPKICryptoNewHash(device(), 0x7000), std::runtime_error);
}
