// A software token whose database, log or faults hold anything is reported and skipped, or read; it
// does no harm and does not hide the token beside it. Reading rewrites no database that has no log.
// While its pages are sound, a change of one slot leaves the others as they are and breaks nothing.
// The check of a token's files takes all of them.

#include <openssl/evp.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>

#include "admin/token_check.h"
#include "any_token.h"
#include "fuzz_support.h"
#include "store/failure.h"
#include "store/fault.h"
#include "store/new_token.h"
#include "store/plug.h"
#include "store/slot_table.h"
#include "store/token_database.h"
#include "store/token_files.h"
#include "vemra_crypto.h"

using namespace vemra::softtoken;

// A file may ask for any delay of its calls; nobody waits for it here.
extern "C" int nanosleep(const timespec* /*duration*/, timespec* /*rest*/) {
    return 0;
}

// Or for any cost of a password. This hash is the one that fill_token() stores.
extern "C" int EVP_PBE_scrypt(const char* /*password*/, size_t /*length*/,
                              const unsigned char* /*salt*/, size_t /*salt_length*/,
                              uint64_t /*cost*/, uint64_t /*block_size*/, uint64_t /*parallelism*/,
                              uint64_t /*most_memory*/, unsigned char* hash, size_t hash_length) {
    std::fill_n(hash, hash_length, static_cast<unsigned char>(0));
    return 1;
}

// Nobody pulls the plug here, and the disk is slow.
extern "C" int fsync(int /*file*/) {
    return 0;
}
extern "C" int fdatasync(int /*file*/) {
    return 0;
}

namespace {

constexpr const char* good_serial = "GOOD";
constexpr int largest_read = 1 << 16;
constexpr int changed_slot = 8130;

using slot_bytes = std::map<int, std::string>;

/** The files of a token that an input makes; no log and no faults when they are empty. */
struct token_parts {
    std::string database;
    std::string log;
    std::string faults;
};

void _write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/** A folder with a token that is left alone and one whose files each input makes anew. */
class playground {
public:
    playground() {
        std::string pattern = std::filesystem::temp_directory_path() / "token_fuzz_XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for tokens");
        base = pattern;
        root = base + "/tokens";
        std::filesystem::create_directory(root);
        setenv("VEMRA_SOFTTOKEN_DIR", root.c_str(), 1);
        make("good", good_serial, "00000000000000000000000000000001");
        make("victim", "VICTIM", "00000000000000000000000000000002");
        good.database = content_of(victim_file());
        good.log = log_of_a_change(victim_file());
        std::atexit([] { std::filesystem::remove_all(the().base); });
    }

    static playground& the() {
        static playground& one = *new playground;
        return one;
    }

    std::string victim() const { return root + "/victim"; }
    std::string victim_file() const { return database_path(victim()); }
    /** Not among the tokens. */
    std::string copy() const { return base + "/copy"; }

    void write_victim(const token_parts& parts) const {
        std::filesystem::remove_all(victim());
        std::filesystem::create_directory(victim());
        _write(victim_file(), parts.database);
        if (!parts.log.empty()) _write(victim_file() + "-wal", parts.log);
    }
    void copy_victim() const {
        std::filesystem::remove_all(copy());
        std::filesystem::copy(victim(), copy());
    }

    // Not plug_in, which waits for the disk.
    void plug_victim_in() const { std::ofstream(plug_path(victim())).flush(); }
    void pull_victim_out() const { std::filesystem::remove(plug_path(victim())); }
    void give_faults(const std::string& text) const { _write(victim() + "/faults", text); }
    void take_faults_off() const { std::filesystem::remove(victim() + "/faults"); }

    std::string base;
    std::string root;
    token_parts good;

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

    // The same bytes in every run, as in fill_token().
    static std::string log_of_a_change(const std::string& file) {
        sqlite3_test_control(SQLITE_TESTCTRL_PRNG_SEED, 1, nullptr);
        token_database database(file);
        transaction change(database);
        slot_table slots(database.connection());
        slots.write(8130, "HELLO", 5);
        slots.create(8132, reinterpret_cast<const unsigned char*>(usual_attributes), 3,
                     personality());
        change.commit();
        return content_of(file + "-wal");
    }
};

// Faults may make any code.
bool _has_faults = false;

void _claim_no_surprise(int result) {
    claim(_has_faults || result != static_cast<int>(error_code::internal),
          "each failure has a code of its own");
}

/** The slots that can be read, whole or as far as there is room. */
slot_bytes _read_slots(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    slot_bytes readable;
    for (const int id : {8127, 8130, 8131, 8132, -1}) {
        int length = 0;
        _claim_no_surprise(VemraPKICryptoGetDataLength(device, id, &length));
        const int room = std::clamp(length, 0, largest_read);
        std::string bytes(static_cast<std::size_t>(room), '\0');
        int got = 0;
        auto* buffer = reinterpret_cast<unsigned char*>(bytes.data());
        const int result = VemraPKICryptoReadData(device, id, buffer, room, &got);
        _claim_no_surprise(result);
        claim(result != 1 || (got >= 0 && got <= room), "no more is read than there is room for");
        if (result == 1) readable[id] = bytes.substr(0, static_cast<std::size_t>(got));
    }
    return readable;
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

slot_bytes _look_at(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    VemraPKICryptoGetType(device);
    _serial(device);
    _read_keys(device);
    return _read_slots(device);
}

// Login, deletion, creation and writing, as when a stamp is replaced.
void _change(VEMRA_PKI_DEVICE_HANDLE_st* device) {
    constexpr unsigned char attributes[] = {4, 1, 3, 7};
    int retries = 0;
    _claim_no_surprise(VemraPKICryptoVerifyPwd(device, 1, "12345678", &retries));
    _claim_no_surprise(VemraPKICryptoDeleteData(device, changed_slot));
    _claim_no_surprise(VemraPKICryptoCreateData(device, changed_slot, attributes, 3));
    const int result = VemraPKICryptoWriteData(device, changed_slot, "new", 3);
    _claim_no_surprise(result);
    if (result != 1 || _has_faults) return;
    unsigned char bytes[3];
    int got = 0;
    claim(VemraPKICryptoReadData(device, changed_slot, bytes, 3, &got) == 1 && got == 3 &&
              std::equal(bytes, bytes + 3, "new"),
          "what was written is read");
}

// The good token is listed first. Pulled out, the other one closes its files.
void _use_victim(const playground& place,
                 const std::function<void(VEMRA_PKI_DEVICE_HANDLE_st*)>& work) {
    place.plug_victim_in();
    VEMRA_PKI_DEVICE_LIST_st* list = VemraPKICryptoGetAllDevices(-1, 0);
    const int count = VemraPKICryptoGetDeviceCount(list);
    claim(count == 1 || count == 2, "the good token is listed, the other one at most once");
    VEMRA_PKI_DEVICE_HANDLE_st* good = VemraPKICryptoGetDevice(list, 0);
    _check_good(good);
    if (count == 2) {
        VEMRA_PKI_DEVICE_HANDLE_st* victim = VemraPKICryptoGetDevice(list, 1);
        work(victim);
        place.pull_victim_out();
        claim(VemraPKICryptoGetType(victim) == -1, "a token that was pulled out does not answer");
        VemraPKICryptoFreeDevice(victim);
    }
    place.pull_victim_out();
    _check_good(good);
    VemraPKICryptoFreeDevice(good);
}

bool _has_sound_pages(const std::string& directory) {
    try {
        token_database database(database_path(directory));
        sqlite_statement statement(database.connection(), "PRAGMA integrity_check");
        sqlite_query query(statement);
        return query.step() && query.text(0) == "ok";
    } catch (const failure&) {
        return false;
    }
}

/** What the check of a token's files finds; looked for in a copy, since opening takes logs in. */
std::set<std::string> _findings(const playground& place) {
    place.copy_victim();
    std::set<std::string> result;
    for (const admin::finding& one : admin::check_token(place.copy(), "copy"))
        result.insert(one.what);
    return result;
}

void _change_one_slot(const playground& place, const std::string& faults) {
    slot_bytes before;
    const std::set<std::string> findings = _findings(place);
    const bool is_sound = _has_sound_pages(place.copy());
    _use_victim(place, [&](auto* device) { before = _read_slots(device); });

    _has_faults = !faults.empty();
    if (_has_faults) place.give_faults(faults);
    _use_victim(place, [](auto* device) {
        _look_at(device);
        _change(device);
    });
    _findings(place);
    place.take_faults_off();
    _has_faults = false;

    slot_bytes after;
    _use_victim(place, [&](auto* device) { after = _read_slots(device); });
    if (!is_sound) return;
    before.erase(changed_slot);
    for (const auto& slot : before)
        claim(after.count(slot.first) == 1 && after[slot.first] == slot.second,
              "slot " + std::to_string(slot.first) + " stays as it was");
    for (const std::string& finding : _findings(place))
        claim(findings.count(finding) == 1, "nothing new is wrong: " + finding);
}

// A fault that ends the process would end this one.
bool _ends_the_process(const std::string& faults) {
    try {
        const std::vector<fault> all = parse_faults(faults);
        return std::any_of(all.begin(), all.end(), [](const fault& one) {
            return one.action == fault_action::die_before ||
                   one.action == fault_action::die_after || one.action == fault_action::tear;
        });
    } catch (const failure&) {
        return false;
    }
}

/** 'W' the good log with changes, 'L' a log of its own, 'F' faults; else a database. */
token_parts _parts(choices& input, char kind, const token_parts& good) {
    if (kind == 'W') return {good.database, token_bytes(input, kind, good.log), {}};
    if (kind == 'L') return {good.database, input.rest(), {}};
    if (kind == 'F') return {good.database, {}, input.rest()};
    return {token_bytes(input, kind, good.database), {}, {}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const playground& place = playground::the();
    choices input(data, size);
    const char kind = static_cast<char>(input.byte());
    const token_parts parts = _parts(input, kind, place.good);
    place.write_victim(parts);
    if (kind == 'V') change_values(input, place.victim_file());
    const std::string database = content_of(place.victim_file());
    _use_victim(place, [](auto* device) { _look_at(device); });
    claim(!parts.log.empty() || content_of(place.victim_file()) == database,
          "reading rewrites nothing");
    if (!_ends_the_process(parts.faults)) _change_one_slot(place, parts.faults);
    return 0;
}
