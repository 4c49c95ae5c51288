#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

#include "store/certificate.h"
#include "store/key_table.h"
#include "token_fixture.h"

using namespace softtoken_test;

namespace {

constexpr const char* slot_canary = "canary-of-a-seal";
constexpr const char* password_canary = "canary-of-a-password";
constexpr const char* wrong_canary = "canary-of-a-guess";

std::set<std::string> every_function() {
    std::ifstream file(FUNCTION_NAMES);
    return {std::istream_iterator<std::string>(file), {}};
}

void use_slots(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    std::array<unsigned char, 99> buffer{};
    int length = 0;
    log_in(device, password_canary);
    fill_slot(device, 8130, slot_canary);
    slot_length(device, 8130, length);
    VemraPKICryptoReadData(device, 8130, buffer.data(), 99, &length);
    VemraPKICryptoReadData(device, 8130, buffer.data(), 15, &length);
    VemraPKICryptoDeleteData(device, 8130);
    slot_length(device, 8130, length);
}

void use_identity(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(serial_number_of(device), "SN-one");
    VemraPKICryptoGetType(device);
    VemraPKICryptoFreeDevice(VemraPKICryptoDupDevice(device));
    VemraPKICryptoFreeDevice(VemraPKICryptoGetPseudoDevice());
}

// Uses the functions for key pairs and certificates; the bytes of the certificate in DER.
int use_keys(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device), 1);
    auto* keypair = VemraPKICryptoGetKeypair(device, 0);
    VemraPKICryptoFreeKeypair(VemraPKICryptoDupKeypair(keypair));
    EXPECT_EQ(VemraPKICryptoGetCertificateCount(keypair), 1);
    VEMRA_CERT_st* certificate = nullptr;
    VemraPKICryptoGetCertificate(keypair, 0, &certificate);
    VemraPKICryptoFreeKeypair(keypair);
    unsigned char* der = nullptr;
    int length = 0;
    VemraPKICertGetCertEncode(certificate, 1, &der, &length);
    auto* same = VemraPKICertNewCert(der, static_cast<unsigned long>(length));
    VemraPKICryptoFreeMemory(der);
    EXPECT_EQ(VemraPKICertEqual(certificate, same), 1);
    VemraPKICertFreeCert(VemraPKICertDupCert(certificate));
    VemraPKICertFreeCert(certificate);
    VemraPKICertFreeCert(same);
    return length;
}

void use_hash(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    unsigned char* bytes = nullptr;
    int length = 0;
    auto* hash = VemraPKICryptoNewHash(device, 0x7000);
    VemraPKICryptoHashUpdate(hash, slot_canary, 16);
    VemraPKICryptoHashFinal(hash, &bytes, &length);
    VemraPKICryptoFreeMemory(bytes);
    VemraPKICryptoFreeHash(hash);
}

}  // namespace

// The trace is looked up at a process's first call, so it is set before any.
class softtoken_trace : public token_test {
protected:
    softtoken_trace() {
        auto token = plain_token("SN-one");
        token.password = password_canary;
        make_token("one", token);
        give_certificate();
        setenv("VEMRA_SOFTTOKEN_TRACE", file().c_str(), 1);
    }
    std::string file() const { return root() + "/.trace"; }
    std::string traced() const { return file_bytes(file()); }
    // The lines without the times, which each of them must have.
    std::string traced_without_times() const {
        static const std::regex whole(
            R"((VemraPKI\w+ slot=(-|\d+) size=(-|\d+) length=(-|\d+) result=-?\d+) microseconds=\d+)");
        std::istringstream lines(traced());
        std::string kept;
        std::smatch parts;
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(std::regex_match(line, parts, whole)) << line;
            kept += parts.str(1) + "\n";
        }
        return kept;
    }

private:
    void give_certificate() const {
        using namespace vemra::softtoken;
        token_database database(directory("one") + "/token.db");
        key_table keys(database.connection());
        made_certificate made = make_certificate("First", 30);
        keys.add_certificate(keys.add_keypair(public_key_of(made.der), made.private_key), made.der);
    }
};

TEST_F(softtoken_trace, tells_function_slot_size_length_and_result_of_each_call) {
    std::string slot_calls =
        "VemraPKICryptoGetAllDevices slot=- size=- length=- result=1\n"
        "VemraPKICryptoGetDevice slot=- size=- length=- result=1\n"
        "VemraPKICryptoVerifyPwd slot=- size=- length=- result=1\n"
        "VemraPKICryptoCreateData slot=8130 size=16 length=- result=1\n"
        "VemraPKICryptoWriteData slot=8130 size=16 length=- result=1\n"
        "VemraPKICryptoGetDataLength slot=8130 size=- length=16 result=1\n"
        "VemraPKICryptoReadData slot=8130 size=99 length=16 result=1\n"
        "VemraPKICryptoReadData slot=8130 size=15 length=- result=-110\n"
        "VemraPKICryptoDeleteData slot=8130 size=- length=- result=1\n"
        "VemraPKICryptoGetDataLength slot=8130 size=- length=- result=-7\n";
    device_owner device = device_at();
    use_slots(device.get());
    EXPECT_EQ(traced_without_times(), slot_calls);
}

TEST_F(softtoken_trace, tells_of_every_function_but_those_for_errors_and_memory) {
    std::set<std::string> expected = every_function();
    for (const char* untraced : {"CryptoFreeMemory", "GetLastError", "GetErrorMsg"})
        ASSERT_EQ(expected.erase(std::string("VemraPKI") + untraced), 1U);
    device_owner device = device_at();
    use_slots(device.get());
    use_identity(device.get());
    use_keys(device.get());
    use_hash(device.get());
    VemraPKICryptoFreeDevice(device.release());
    EXPECT_STREQ(VemraPKIGetErrorMsg(VemraPKIGetLastError()), "no such data slot");
    std::istringstream lines(traced_without_times());
    std::set<std::string> names;
    for (std::string text; std::getline(lines, text);)
        names.insert(text.substr(0, text.find(' ')));
    EXPECT_EQ(names, expected);
}

TEST_F(softtoken_trace, tells_the_lengths_of_certificates_and_hashes) {
    device_owner device = device_at();
    std::string der = std::to_string(use_keys(device.get()));
    use_hash(device.get());
    for (const std::string& part : {"CertGetCertEncode slot=- size=- length=" + der + " result=1\n",
                                    "CertNewCert slot=- size=" + der + " length=- result=1\n",
                                    std::string("HashUpdate slot=- size=16 length=- result=1\n"),
                                    std::string("HashFinal slot=- size=- length=32 result=1\n")})
        EXPECT_TRUE(has(traced_without_times(), part)) << traced();
}

TEST_F(softtoken_trace, has_neither_passwords_nor_bytes_of_slots) {
    device_owner device = device_at();
    log_in(device.get(), wrong_canary);
    log_in(device.get(), password_canary);
    fill_slot(device.get(), 8130, slot_canary);
    EXPECT_EQ(slot_bytes(device.get(), 8130), slot_canary);
    use_hash(device.get());
    EXPECT_TRUE(has(traced(), "VerifyPwd slot=- size=- length=- result=-106"));
    EXPECT_TRUE(has(traced(), "ReadData slot=8130 size=16 length=16 result=1"));
    EXPECT_TRUE(has(traced(), "HashUpdate slot=- size=16 length=- result=1"));
    EXPECT_FALSE(has(traced(), "canary")) << traced();
}

TEST_F(softtoken_trace, microseconds_are_those_of_the_call) {
    ASSERT_EQ(run_tool("profile one --call-delay 30").status, 0);
    device_owner device = device_at();
    EXPECT_EQ(VemraPKICryptoGetType(device.get()), 1);
    std::smatch found;
    std::string text = traced();
    ASSERT_TRUE(std::regex_search(text, found, std::regex("GetType .* microseconds=(\\d+)")));
    EXPECT_GE(std::stol(found[1]), 30000);
}

TEST_F(softtoken_trace, lines_of_several_processes_are_whole) {
    constexpr int calls = 400;
    auto read_often = [](int) {
        device_owner device = device_at();
        int length = 0;
        for (int i = 0; i < calls; ++i)
            slot_length(device.get(), 8130, length);
        return true;
    };
    ASSERT_EQ(at_once(3, read_often), 3);
    std::istringstream lines(traced());
    const std::regex line("VemraPKI\\w+ slot=.* microseconds=\\d+");
    int lengths = 0;
    for (std::string text; std::getline(lines, text);) {
        ASSERT_TRUE(std::regex_match(text, line)) << text;
        lengths += has(text, "GetDataLength slot=8130") ? 1 : 0;
    }
    EXPECT_EQ(lengths, 3 * calls);
}

TEST_F(softtoken_trace, call_that_ends_the_process_is_told) {
    setenv("VEMRA_SOFTTOKEN_FAULTS", "GetType die=after", 1);
    EXPECT_FALSE(in_child([] { return VemraPKICryptoGetType(device_at().get()) == 1; }));
    EXPECT_TRUE(
        has(traced(), "VemraPKICryptoGetType slot=- size=- length=- result=killed microseconds="));
}

TEST_F(softtoken_trace, is_private_to_the_user) {
    attached_count();
    EXPECT_EQ(run("stat -c %a " + file()).output, "600\n");
}

TEST_F(softtoken_trace, keeps_the_mode_of_a_file_that_is_there) {
    run("touch " + file() + " && chmod 640 " + file());
    attached_count();
    EXPECT_EQ(run("stat -c '%a %s' " + file()).output.substr(0, 4), "640 ");
    EXPECT_NE(run("stat -c %s " + file()).output, "0\n");
}

TEST_F(softtoken_trace, file_that_cannot_be_written_is_named_and_the_program_runs) {
    setenv("VEMRA_SOFTTOKEN_TRACE", "/no/such/directory/trace", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vemra-softtoken: cannot write the trace file /no/such/directory/trace\n");
}

TEST_F(softtoken_trace, name_of_a_file_that_cannot_be_written_is_harmless) {
    setenv("VEMRA_SOFTTOKEN_TRACE", "/no/such/\x1b[2J", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(attached_count(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vemra-softtoken: cannot write the trace file /no/such/?[2J\n");
}

// Descriptors of the program's own get the numbers that the library's had.
TEST_F(softtoken_trace, never_lands_in_a_file_opened_after_the_program_closed_all_of_its_own) {
    EXPECT_TRUE(in_child([this] {
        device_owner pseudo(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice);
        for (int each = 3; each < 64; ++each)
            close(each);
        for (int each = 3; each < 64; ++each)
            open((root() + "/.own").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        VemraPKICryptoGetType(pseudo.get());
        return file_bytes(root() + "/.own").empty();
    }));
    EXPECT_TRUE(has(traced(), "VemraPKICryptoGetType"));
}

TEST_F(softtoken_trace, file_stays_the_same_when_the_program_changes_its_directory) {
    EXPECT_TRUE(in_child([this] {
        if (chdir(root().c_str()) != 0) return false;
        setenv("VEMRA_SOFTTOKEN_TRACE", ".relative", 1);
        device_owner pseudo(VemraPKICryptoGetPseudoDevice(), VemraPKICryptoFreeDevice);
        if (chdir("/") != 0) return false;
        VemraPKICryptoGetType(pseudo.get());
        return has(file_bytes(root() + "/.relative"), "GetType");
    }));
}

TEST_F(softtoken_trace, pipe_is_refused_and_waited_for_by_nobody) {
    const std::string pipe = root() + "/.pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    setenv("VEMRA_SOFTTOKEN_TRACE", pipe.c_str(), 1);
    EXPECT_TRUE(in_child([] {
        alarm(10);
        return attached_count() == 1;
    }));
}

TEST_F(softtoken_trace, link_is_not_followed) {
    const std::string link = root() + "/.link";
    std::filesystem::create_symlink(root() + "/.aim", link);
    setenv("VEMRA_SOFTTOKEN_TRACE", link.c_str(), 1);
    EXPECT_TRUE(in_child([] { return attached_count() == 1; }));
    EXPECT_FALSE(std::filesystem::exists(root() + "/.aim"));
}

// The loader marks a program that runs with another user's rights; so it does here.
TEST_F(softtoken_trace, environment_means_nothing_to_a_program_with_other_rights) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make such a program for another user";
    const std::string program = root() + "/set-user-id";
    std::filesystem::copy_file(file_of(FREES_AT_EXIT), program);
    ASSERT_EQ(run("chmod 4755 " + program + "; chmod 711 " + root()).status, 0);
    const int status = run(program).status;
    ASSERT_TRUE(std::filesystem::remove(file())) << "it writes no trace at all";
    EXPECT_EQ(run("setpriv --reuid=65534 --regid=65534 --clear-groups " + program).status, status);
    EXPECT_FALSE(std::filesystem::exists(file()));
}
