#include "sweep/live_library.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "support/allocation_faults.h"
#include "support/stream_capture.h"

namespace {

VEMRA_APP_STAMP_RECORD _record(std::string& name, std::string& data) {
    VEMRA_APP_STAMP_RECORD record;
    std::memset(&record, 0, sizeof(record));
    record.type = VEMRA_APP_STAMP_TYPE_IMAGE;
    record.name_length = static_cast<unsigned int>(name.size());
    record.data_length = data.size();
    record.data = reinterpret_cast<unsigned char*>(data.data());
    record.name = name.data();
    return record;
}

const unsigned char* _bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void _release_record(VEMRA_APP_STAMP_RECORD* record) {
    VemraAppStampFreeMemory(record->name);
    VemraAppStampFreeStamp(record);
}

// The same as normalised_line(), which is too slow for a hundred thousand lines.
std::string _normalised(const std::string& line) {
    const std::size_t colon = line.rfind(".cpp:");
    const bool has_position = colon != std::string::npos && line.back() == ')';
    const std::size_t end = has_position ? colon + 5 : line.size();
    std::string result;
    for (std::size_t i = 0; i < end; ++i) {
        if (line.compare(i, 2, "0x") != 0) {
            result += line[i];
            continue;
        }
        result += "PTR";
        for (++i; i + 1 < end && std::isxdigit(static_cast<unsigned char>(line[i + 1])) != 0;)
            ++i;
    }
    return has_position ? result + "N)" : result;
}

/** Runs one exported function and keeps what its caller sees. */
const stream_capture* open_capture = nullptr;
std::function<void(const seen_call&)> end_watcher;

[[noreturn]] void _tell_end() {
    allocation_faults_exempt(1);
    allocation_faults::stop();
    seen_call seen;
    seen.has_ended = true;
    seen.met_shortage = true;
    seen.lines = normalised_trace(open_capture->lines());
    end_watcher(seen);
    std::abort();
}

template <typename Work>
seen_call _watched(Work work) {
    const stdout_capture captured;
    open_capture = &captured;
    seen_call seen;
    try {
        const counted_scope counted;
        seen.status = work();
    } catch (const std::exception& error) {
        seen.escaped = error.what();
    } catch (int thrown) {
        seen.escaped = std::to_string(thrown);
    }
    seen.met_shortage = allocation_faults::fired();
    allocation_faults::stop();
    seen.lines = normalised_trace(captured.lines());
    seen.last_status = VemraAppStampGetLastError();
    return seen;
}

}  // namespace

void watch_end(const std::function<void(const seen_call&)>& watcher) {
    end_watcher = watcher;
    std::set_terminate(_tell_end);
}

counted_scope::counted_scope() {
    allocation_faults_exempt(-1);
}

counted_scope::~counted_scope() {
    allocation_faults_exempt(1);
}

std::vector<std::string> normalised_trace(const std::vector<std::string>& lines) {
    std::vector<std::string> result;
    for (const std::string& line : lines)
        result.push_back(_normalised(line));
    return result;
}

void live_library::forget_first() {
    if (first_ == nullptr) return;
    const stdout_capture unseen;
    _release_record(first_);
    first_ = nullptr;
}

void live_library::take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, seen_call& seen) {
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    {
        const counted_scope counted;
        VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &record);
    }
    if (record == nullptr) {
        seen.stamps.push_back({"not taken", {}, {}});
        return;
    }
    const auto* data = reinterpret_cast<const char*>(record->data);
    seen.stamps.push_back({std::string(reinterpret_cast<const char*>(uuid), uuid_size),
                           std::string(record->name, record->name_length),
                           std::string(data == nullptr ? "" : data, record->data_length)});
    VemraAppStampFreeMemory(uuid);
    if (index == 0) {
        first_ = record;
    } else {
        _release_record(record);
    }
}

void live_library::take_all(VEMRA_APP_STAMP_SET_HANDLE set, seen_call& seen) {
    if (set == nullptr) return;
    const stdout_capture unseen;
    unsigned int count = 0;
    VemraAppStampGetStampCount(set, &count);
    for (unsigned int i = 0; i < count; ++i)
        take(set, i, seen);
    VemraAppStampFreeStamps(set);
}

seen_call live_library::list() {
    forget_first();
    VEMRA_APP_STAMP_SET_HANDLE set = nullptr;
    seen_call seen = _watched([&] {
        set = VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1);
        return 0;
    });
    if (!seen.escaped) seen.status = seen.last_status;
    take_all(set, seen);
    return seen;
}

seen_call live_library::own_device() {
    char* serial = nullptr;
    unsigned int length = 0;
    int type = 0;
    seen_call seen =
        _watched([&] { return VemraAppStampGetStampOwnDevice(first_, &serial, &length, &type); });
    if (serial != nullptr) {
        const stdout_capture unseen;
        seen.owner_serial = std::string(serial, length);
        VemraAppStampFreeMemory(serial);
    }
    if (serial == nullptr && length != 0) {
        seen.owner_serial = "no memory for " + std::to_string(length);
    }
    seen.owner_type = type;
    return seen;
}

seen_call live_library::append(const std::string& serial, int type, const char* password,
                               const new_stamp& stamp) {
    new_stamp own = stamp;
    const VEMRA_APP_STAMP_RECORD record = _record(own.name, own.data);
    return _watched([&] {
        return VemraAppStampAppendStamp(serial.c_str(), static_cast<unsigned int>(serial.size()),
                                        type, password, &record);
    });
}

seen_call live_library::update(const std::string& uuid, const char* password,
                               const new_stamp& stamp) {
    new_stamp own = stamp;
    const VEMRA_APP_STAMP_RECORD record = _record(own.name, own.data);
    return _watched([&] {
        return VemraAppStampUpdateStamp(_bytes(uuid), static_cast<unsigned int>(uuid.size()),
                                        password, &record);
    });
}

seen_call live_library::remove(const std::string& uuid, const char* password) {
    return _watched([&] {
        return VemraAppStampDeleteStamp(_bytes(uuid), static_cast<unsigned int>(uuid.size()),
                                        password);
    });
}
