// Arguments of the exported functions: handles that are null or live, texts that are terminated,
// numbers of any value. Each call returns the status that its first bad argument has, or a
// documented one when no argument is bad. A call that fails writes no output and no slot.

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <initializer_list>
#include <map>

#include "fresh_start.h"
#include "fuzz_support.h"
#include "support/fake_device_library.h"
#include "vemra_app_stamp.h"

namespace {

using device_slots = std::map<int, std::string>;

/** One device with two stamps, and one of each live handle. */
struct world {
    world() {
        fake.add_device("S", 3);
        fake.fill_slot(8127, std::string("\x16\0\0\0\x01", 5) + "A&8130||name&8131");
        fake.fill_slot(8130, "hello");
        set = VemraAppStampGetAllStamps(-1, nullptr, 0, -1);
        VemraAppStampGetStamp(set, 0, &uuid, &uuid_size, &record);
        claim(record != nullptr, "the first stamp can be taken");
    }
    ~world() {
        VemraAppStampFreeMemory(uuid);
        VemraAppStampFreeMemory(record->name);
        VemraAppStampFreeStamp(record);
        VemraAppStampFreeStamps(set);
    }
    world(const world&) = delete;
    world& operator=(const world&) = delete;

    fake_device_library fake;
    VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
};

/** The given pointer, or null when the input says so. */
template <typename Pointer>
Pointer _or_null(choices& input, Pointer pointer) {
    return input.byte() % 4 == 0 ? nullptr : pointer;
}

/** An output, perhaps not asked for, that holds something before the call. */
template <typename Value>
class output {
public:
    output(choices& input, Value before)
        : value(before), place(_or_null(input, &value)), before_(before) {}
    output(const output&) = delete;
    output& operator=(const output&) = delete;

    bool is_asked_for() const { return place != nullptr; }
    bool is_untouched() const { return value == before_; }

    Value value;
    Value* const place;

private:
    const Value before_;
};

template <typename... Values>
void _claim_untouched_unless_done(int status, const output<Values>&... outputs) {
    claim(status == 1 || (outputs.is_untouched() && ...), "a call that fails writes no output");
}

/* Addresses that no call makes. */
unsigned char some_byte;
char some_text;
VEMRA_APP_STAMP_RECORD some_record;

void _claim_status(int status, std::initializer_list<int> allowed, const char* function) {
    bool is_allowed = false;
    for (const int one : allowed)
        is_allowed = is_allowed || one == status;
    const std::string name = std::string(function) + " returned " + std::to_string(status);
    claim(is_allowed, name + ", which its arguments do not explain");
    claim(VemraAppStampGetLastError() == status, name + ", which is not the last status");
}

void _free(void* memory) {
    if (memory != nullptr) claim(VemraAppStampFreeMemory(memory) == 1, "a buffer is released");
}

// The crash handler returns: a fault in the fuzzer itself would repeat for ever.
VEMRA_APP_STAMP_ENV_HANDLE _initialize(const VEMRA_APP_STAMP_CONFIG* config) {
    constexpr std::array<int, 3> numbers{SIGILL, SIGSEGV, SIGABRT};
    std::array<struct sigaction, 3> saved{};
    for (std::size_t i = 0; i < numbers.size(); ++i)
        sigaction(numbers[i], nullptr, &saved[i]);
    VEMRA_APP_STAMP_ENV_HANDLE handle = VemraAppStampEnvInitialize(config);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        sigaction(numbers[i], &saved[i], nullptr);
    return handle;
}

void _texts(choices& input, world&) {
    claim(std::string("1.0.0.0") == VemraAppStampGetVersion(), "the version is a constant");
    claim(*VemraAppStampGetErrorMessage(input.number()) != '\0', "each code has a text");
    _claim_status(VemraAppStampFreeMemory(nullptr), {-2}, "FreeMemory");
}

void _environment(choices& input, world&) {
    std::string directory = input.text();
    VEMRA_APP_STAMP_CONFIG config{};
    config.log_level = input.number();
    config.log_directory = _or_null(input, directory.data());
    config.log_directory_length =
        input.yes() ? static_cast<int>(directory.size()) : -static_cast<int>(input.byte());
    VEMRA_APP_STAMP_ENV_HANDLE handle = _initialize(_or_null(input, &config));
    claim(handle == _initialize(nullptr), "there is one environment");

    VEMRA_APP_STAMP_CONFIG told{7, 7, &some_text};
    VEMRA_APP_STAMP_CONFIG* output = _or_null(input, &told);
    VEMRA_APP_STAMP_ENV_HANDLE given = _or_null(input, handle);
    const int status = VemraAppStampEnvGetConfiguration(given, output);
    _claim_status(status, {given == nullptr ? -1 : output == nullptr ? -2 : 1}, "Configuration");
    claim(told.log_level == (status == 1 ? 0 : 7), "initialising leaves the level alone");
    if (told.log_directory == &some_text) {
        claim(told.log_directory_length == 7, "a directory that is not told has no length");
    } else {
        claim(status == 1, "a call that fails tells no directory");
        _free(told.log_directory);
    }
    _claim_status(VemraAppStampEnvUninitialize(given), {given == nullptr ? -1 : 1}, "Uninit");
}

void _enumeration(choices& input, world&) {
    const int type = input.yes() ? input.byte() % 5 - 2 : input.number();
    const std::string serial = input.yes() ? "S" : input.text();
    const auto length = static_cast<unsigned int>(input.byte() % (serial.size() + 1));
    const int device_type = input.yes() ? -1 : input.number();
    const char* given = _or_null(input, serial.c_str());
    VEMRA_APP_STAMP_SET_HANDLE set = VemraAppStampGetAllStamps(
        type, given, given == nullptr ? input.byte() : length, device_type);
    const bool is_known_type = type >= -1 && type <= 1;
    claim((set != nullptr) == is_known_type, "a known type gives a set");
    _claim_status(VemraAppStampGetLastError(), {is_known_type ? 1 : -4}, "GetAllStamps");

    output<unsigned int> count(input, 77);
    const int status = VemraAppStampGetStampCount(set, count.place);
    _claim_status(status, {set == nullptr ? -1 : !count.is_asked_for() ? -2 : 1}, "GetStampCount");
    _claim_untouched_unless_done(status, count);
    claim(status != 1 || count.value <= 5, "there are no more stamps than slots");
    _claim_status(VemraAppStampFreeStamps(set), {set == nullptr ? -1 : 1}, "FreeStamps");
}

void _taking(choices& input, world& all) {
    VEMRA_APP_STAMP_SET_HANDLE set = _or_null(input, all.set);
    const auto index = static_cast<unsigned int>(input.yes() ? input.byte() % 3 : input.number());
    output<unsigned char*> uuid(input, &some_byte);
    output<unsigned int> uuid_size(input, 77);
    output<VEMRA_APP_STAMP_RECORD*> taken(input, &some_record);
    const bool has_outputs =
        uuid.is_asked_for() && uuid_size.is_asked_for() && taken.is_asked_for();
    const int status = VemraAppStampGetStamp(set, index, uuid.place, uuid_size.place, taken.place);
    _claim_status(status,
                  {set == nullptr ? -1
                   : index >= 2   ? -5
                   : has_outputs  ? 1
                                  : -2},
                  "GetStamp");
    _claim_untouched_unless_done(status, uuid, uuid_size, taken);
    VEMRA_APP_STAMP_RECORD* record = status == 1 ? taken.value : nullptr;
    if (record != nullptr) {
        claim(index != 0 || std::equal(uuid.value, uuid.value + uuid_size.value, all.uuid),
              "a uuid stays what it was");
        _free(uuid.value);
        _free(record->name);
    }
    _claim_status(VemraAppStampFreeStamp(record), {record == nullptr ? -1 : 1}, "FreeStamp");
}

int _status_of_reading(const VEMRA_APP_STAMP_RECORD* record, bool has_outputs) {
    return record == nullptr ? -1 : has_outputs ? 1 : -2;
}

void _reading(choices& input, world& all) {
    const VEMRA_APP_STAMP_RECORD* record = _or_null(input, all.record);
    output<int> type(input, 77);
    int status = VemraAppStampGetStampType(record, type.place);
    _claim_status(status, {_status_of_reading(record, type.is_asked_for())}, "GetStampType");
    _claim_untouched_unless_done(status, type);
    claim(status != 1 || type.value == 1, "a record keeps its type");

    output<unsigned char*> bytes(input, &some_byte);
    output<unsigned long long> size(input, 77);
    status = VemraAppStampGetStampData(record, bytes.place, size.place);
    _claim_status(status, {_status_of_reading(record, bytes.is_asked_for() && size.is_asked_for())},
                  "GetStampData");
    _claim_untouched_unless_done(status, bytes, size);
    if (status == 1) {
        claim(std::string(bytes.value, bytes.value + size.value) == "hello",
              "a record keeps its bytes");
        _free(bytes.value);
    }

    output<char*> name(input, &some_text);
    output<unsigned int> length(input, 77);
    status = VemraAppStampGetStampName(record, name.place, length.place);
    _claim_status(status,
                  {_status_of_reading(record, name.is_asked_for() && length.is_asked_for())},
                  "GetStampName");
    _claim_untouched_unless_done(status, name, length);
    if (status == 1) {
        claim(std::string("A") == name.value && length.value == 1, "a record keeps its name");
        _free(name.value);
    }
}

void _owner(choices& input, world& all) {
    VEMRA_APP_STAMP_RECORD empty{};
    const VEMRA_APP_STAMP_RECORD* record = _or_null(input, input.yes() ? all.record : &empty);
    output<char*> serial(input, &some_text);
    output<unsigned int> length(input, 77);
    output<int> type(input, 77);
    const bool has_outputs = serial.is_asked_for() && length.is_asked_for() && type.is_asked_for();
    const int wanted = record == nullptr ? -1 : !has_outputs ? -2 : record == &empty ? -1 : 1;
    const int status =
        VemraAppStampGetStampOwnDevice(record, serial.place, length.place, type.place);
    _claim_status(status, {wanted}, "GetStampOwnDevice");
    _claim_untouched_unless_done(status, serial, length, type);
    if (status == 1) {
        claim(std::string("S") == serial.value && length.value == 1 && type.value == 3,
              "the owner is the device");
        _free(serial.value);
    }
}

/** A caller's record with its bytes and name. */
struct callers_record {
    explicit callers_record(choices& input) : bytes(input.text()), name(input.text()) {
        record.type = input.yes() ? 1 : input.yes() ? 0 : input.number();
        record.data = _or_null(input, reinterpret_cast<unsigned char*>(bytes.data()));
        record.data_length = bytes.size();
        record.name = _or_null(input, name.data());
        record.name_length = static_cast<unsigned int>(name.size());
    }
    callers_record(const callers_record&) = delete;
    callers_record& operator=(const callers_record&) = delete;

    bool is_good() const {
        return (record.type == 0 || record.type == 1) && record.data != nullptr && !bytes.empty() &&
               record.name != nullptr && !name.empty();
    }

    std::string bytes;
    std::string name;
    VEMRA_APP_STAMP_RECORD record{};
};

void _claim_unchanged_unless_done(int status, const world& all, const device_slots& before) {
    claim(status == 1 || all.fake.slots("S") == before, "a call that fails writes no slot");
}

void _appending(choices& input, world& all) {
    const std::string serial = input.yes() ? "S" : input.text();
    const char* given = _or_null(input, serial.c_str());
    const auto length = static_cast<unsigned int>(input.byte() % (serial.size() + 1));
    const int type = input.yes() ? 3 : input.number();
    const std::string password = input.yes() ? "12345678" : input.text();
    const callers_record callers(input);
    const VEMRA_APP_STAMP_RECORD* stamp = _or_null(input, &callers.record);
    const device_slots before = all.fake.slots("S");
    const int status =
        VemraAppStampAppendStamp(given, length, type, _or_null(input, password.c_str()), stamp);
    _claim_unchanged_unless_done(status, all, before);
    if (given == nullptr || length == 0 || type == -1 || stamp == nullptr) {
        _claim_status(status, {-2}, "AppendStamp");
    } else if (!callers.is_good()) {
        _claim_status(status, {-1}, "AppendStamp");
    } else if (serial.substr(0, length) != "S" || type != 3) {
        _claim_status(status, {0}, "AppendStamp");
    } else if (stamp->type == 0) {
        _claim_status(status, {-4}, "AppendStamp");
    } else {
        _claim_status(status, {1, -7}, "AppendStamp");
    }
}

void _changing(choices& input, world& all) {
    std::string other = input.text();
    if (other.size() == all.uuid_size) other += '?';
    const bool is_known = input.yes();
    const auto* unknown = reinterpret_cast<const unsigned char*>(other.c_str());
    const unsigned char* uuid = _or_null(input, is_known ? all.uuid : unknown);
    const auto known_size = is_known ? all.uuid_size : static_cast<unsigned int>(other.size());
    const unsigned int size = input.yes() ? known_size : 0;
    const std::string password = input.yes() ? "12345678" : input.text();
    const char* given = _or_null(input, password.c_str());
    const bool is_uuid = uuid != nullptr && size != 0;
    const device_slots before = all.fake.slots("S");
    if (input.yes()) {
        const int status = VemraAppStampDeleteStamp(uuid, size, given);
        _claim_unchanged_unless_done(status, all, before);
        _claim_status(status, {is_uuid && is_known ? 1 : 0}, "DeleteStamp");
        return;
    }
    const callers_record callers(input);
    const VEMRA_APP_STAMP_RECORD* stamp = _or_null(input, &callers.record);
    const int status = VemraAppStampUpdateStamp(uuid, size, given, stamp);
    _claim_unchanged_unless_done(status, all, before);
    if (!is_uuid) {
        _claim_status(status, {0}, "UpdateStamp");
    } else if (stamp == nullptr) {
        _claim_status(status, {-2}, "UpdateStamp");
    } else if (!callers.is_good()) {
        _claim_status(status, {-1}, "UpdateStamp");
    } else {
        _claim_status(status, {!is_known ? 0 : stamp->type == 0 ? -4 : 1}, "UpdateStamp");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::array calls{_texts,   _environment, _enumeration, _taking,
                               _reading, _owner,       _appending,   _changing};
    choices input(data, size);
    {
        world all;
        for (int i = 0; i < 20 && !input.is_used_up(); ++i)
            calls[input.byte() % calls.size()](input, all);
        claim(all.fake.misuses().empty(), "no handle is misused");
        claim(all.fake.live_buffers() == 0, "no buffer of the device library is lost");
        claim(all.fake.live_hashes() == 0, "no hash is lost");
    }
    forget_everything();
    return 0;
}
