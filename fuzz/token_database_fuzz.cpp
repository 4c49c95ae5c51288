// A software token whose database file holds anything is reported and skipped, or read; it is never
// rewritten, does no harm, and does not hide the token beside it.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "any_token.h"
#include "fuzz_support.h"
#include "store/failure.h"
#include "store/new_token.h"
#include "store/plug.h"
#include "store/token_files.h"
#include "vemra_crypto.h"

using namespace vemra::softtoken;

// A file may ask for any delay of its calls; nobody waits for it here.
extern "C" int nanosleep(const timespec* /*duration*/, timespec* /*rest*/) {
    return 0;
}

namespace {

constexpr const char* good_serial = "GOOD";
constexpr int largest_read = 1 << 16;

/** A folder with a token that is left alone and one whose file each input makes anew. */
class playground {
public:
    playground() {
        std::string pattern = std::filesystem::temp_directory_path() / "token_fuzz_XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for tokens");
        root = pattern;
        setenv("VEMRA_SOFTTOKEN_DIR", root.c_str(), 1);
        make("good", good_serial, "00000000000000000000000000000001");
        make("victim", "VICTIM", "00000000000000000000000000000002");
        template_bytes = content_of(victim_file());
        std::atexit([] { std::filesystem::remove_all(the().root); });
    }

    static playground& the() {
        static playground& one = *new playground;
        return one;
    }

    std::string victim() const { return root + "/victim"; }
    std::string victim_file() const { return database_path(victim()); }

    void write_victim(const std::string& bytes) const {
        std::filesystem::remove_all(victim());
        std::filesystem::create_directory(victim());
        std::ofstream(victim_file(), std::ios::binary) << bytes;
    }

    // Not plug_in, which waits for the disk.
    void plug_victim_in() const { std::ofstream(plug_path(victim())).flush(); }

    std::string root;
    std::string template_bytes;

private:
    void make(const std::string& name, const char* serial, const std::string& uid) const {
        new_token token;
        token.info.serial_number = serial;
        token.info.type = 3;
        token.info.label = name;
        token.password = "12345678";
        token.password_cost = lowest_password_cost;
        create_token(root, name, token);
        fill_token(root + "/" + name, uid);
        add_certificate(root + "/" + name);
    }
};

void _claim_no_surprise(int result) {
    claim(result != static_cast<int>(error_code::internal), "each failure has a code of its own");
}

void _read_slots(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    for (const int id : {8127, 8130, 8131, -1}) {
        int length = 0;
        _claim_no_surprise(VemraPKICryptoGetDataLength(device, id, &length));
        const int room = std::clamp(length, 0, largest_read);
        std::string bytes(static_cast<std::size_t>(room), '\0');
        int got = 0;
        auto* buffer = reinterpret_cast<unsigned char*>(bytes.data());
        const int result = VemraPKICryptoReadData(device, id, buffer, room, &got);
        _claim_no_surprise(result);
        claim(result != 1 || (got >= 0 && got <= room), "no more is read than there is room for");
    }
}

void _read_keys(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    const int count = std::min(VemraPKICryptoGetKeypairCount(device), 3);
    for (int i = 0; i < count; ++i) {
        VEMRA_PrivKey_Handle_st* keypair = VemraPKICryptoGetKeypair(device, i);
        const int certificates = std::min(VemraPKICryptoGetCertificateCount(keypair), 3);
        for (int k = 0; k < certificates; ++k) {
            VEMRA_CERT_st* certificate = nullptr;
            _claim_no_surprise(VemraPKICryptoGetCertificate(keypair, k, &certificate));
            VemraPKICertFreeCert(certificate);
        }
        VemraPKICryptoFreeKeypair(keypair);
    }
}

std::string _serial(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    char* serial = nullptr;
    _claim_no_surprise(VemraPKICryptoGetSerialNumber(device, &serial));
    const std::string result(serial == nullptr ? "" : serial);
    VemraPKICryptoFreeMemory(serial);
    return result;
}

void _check_good(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    unsigned char bytes[5];
    int got = 0;
    claim(_serial(device) == good_serial, "the good token keeps its serial number");
    claim(VemraPKICryptoReadData(device, 8130, bytes, 5, &got) == 1 && got == 5 &&
              std::equal(bytes, bytes + 5, "hello"),
          "the good token keeps its slots");
}

// The good token is listed first. Pulled out, the other one closes its file.
void _use_tokens(const playground& place) {
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    const int count = VemraPKICryptoGetDeviceCount(list);
    claim(count == 1 || count == 2, "the good token is listed, the other one at most once");
    VEMRA_PKI_DEVICE_HANDLE_st* good = VemraPKICryptoGetDevice(list, 0);
    _check_good(good);
    VemraPKICryptoFreeDevice(good);
    if (count == 1) return;

    VEMRA_PKI_DEVICE_HANDLE_st* victim = VemraPKICryptoGetDevice(list, 1);
    VemraPKICryptoGetType(victim);
    _serial(victim);
    _read_slots(victim);
    _read_keys(victim);
    std::filesystem::remove(plug_path(place.victim()));
    claim(VemraPKICryptoGetType(victim) == -1, "a token that was pulled out does not answer");
    VemraPKICryptoFreeDevice(victim);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const playground& place = playground::the();
    choices input(data, size);
    const char kind = static_cast<char>(input.byte());
    place.write_victim(token_bytes(input, kind, place.template_bytes));
    if (kind == 'V') change_values(input, place.victim_file());
    place.plug_victim_in();
    const std::string bytes = content_of(place.victim_file());
    _use_tokens(place);
    claim(content_of(place.victim_file()) == bytes, "reading rewrites nothing");
    return 0;
}
