#include "sweep/live/live_holdings.h"

#include <csignal>
#include <utility>

#include "support/stamp_record.h"
#include "support/stream_capture.h"
#include "sweep/live/watched_call.h"

namespace {

char untouched_text[] = "untouched";
unsigned char* const untouched_bytes = reinterpret_cast<unsigned char*>(untouched_text);

/** An output buffer as text, released. */
template <typename Byte, typename Size>
std::string _taken(Byte* buffer, Size size) {
    if (reinterpret_cast<char*>(buffer) == untouched_text) return untouched_text;
    const std::string length = std::to_string(size) + " bytes: ";
    if (buffer == nullptr) return length + "null";
    const std::string bytes(reinterpret_cast<char*>(buffer), size);
    VemraAppStampFreeMemory(buffer);
    return length + bytes;
}

/** A call of a function that keeps no status. */
seen_call _watched_without_status(const std::function<void()>& work) {
    seen_call seen = watched_call([&] {
        work();
        return 0;
    });
    if (!seen.escaped) seen.status = seen.last_status;
    return seen;
}

// The crash handler returns: a fault would repeat for ever.
void _take_crash_handler_off() {
    for (const int number : {SIGILL, SIGSEGV, SIGABRT})
        std::signal(number, SIG_DFL);
}

}  // namespace

void live_holdings::hold() {
    const stdout_capture unseen;
    const counted_scope counted;
    set_ = VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1);
    unsigned int count = 0;
    VemraAppStampGetStampCount(set_, &count);
    last_ = count - 1;
    unsigned int uuid_size = 0;
    VemraAppStampGetStamp(set_, last_, &uuid_, &uuid_size, &record_);
}

void live_holdings::release() {
    const stdout_capture unseen;
    if (uuid_ != nullptr) VemraAppStampFreeMemory(std::exchange(uuid_, nullptr));
    if (record_ != nullptr) free_record(std::exchange(record_, nullptr));
    if (set_ != nullptr) VemraAppStampFreeStamps(std::exchange(set_, nullptr));
}

seen_call live_holdings::call(plain_function function) {
    switch (function) {
        case plain_function::get_version:
            return get_version();
        case plain_function::get_last_error:
            return get_last_error();
        case plain_function::get_error_message:
            return get_error_message();
        case plain_function::free_memory:
            return free_memory();
        case plain_function::env_initialize:
            return env_initialize();
        case plain_function::env_get_configuration:
            return env_get_configuration();
        case plain_function::env_uninitialize:
            return env_uninitialize();
        case plain_function::free_stamps:
            return free_stamps();
        case plain_function::get_stamp_count:
            return get_stamp_count();
        case plain_function::get_stamp:
            return get_stamp();
        case plain_function::free_stamp:
            return free_stamp();
        case plain_function::get_stamp_type:
            return get_stamp_type();
        case plain_function::get_stamp_data:
            return get_stamp_data();
        case plain_function::get_stamp_name:
            return get_stamp_name();
    }
    return {};
}

seen_call live_holdings::get_version() {
    const char* text = nullptr;
    seen_call seen = _watched_without_status([&] { text = VemraAppStampGetVersion(); });
    if (text != nullptr) seen.outputs = {text};
    return seen;
}

seen_call live_holdings::get_last_error() {
    int status = 0;
    seen_call seen = _watched_without_status([&] { status = VemraAppStampGetLastError(); });
    if (!seen.escaped) seen.outputs = {std::to_string(status)};
    return seen;
}

seen_call live_holdings::get_error_message() {
    const char* text = nullptr;
    seen_call seen = _watched_without_status(
        [&] { text = VemraAppStampGetErrorMessage(VEMRA_APP_STAMP_OUT_OF_MEMORY); });
    if (text != nullptr) seen.outputs = {text};
    return seen;
}

seen_call live_holdings::free_memory() {
    seen_call seen = watched_call([&] { return VemraAppStampFreeMemory(uuid_); });
    if (seen.status == VEMRA_APP_STAMP_SUCCESS) uuid_ = nullptr;
    return seen;
}

seen_call live_holdings::env_initialize() {
    char directory[] = "/a folder of some length/logs/with a name longer than before";
    const VEMRA_APP_STAMP_CONFIG wanted{0, sizeof(directory) - 1, directory};
    seen_call seen = _watched_without_status([&] { env_ = VemraAppStampEnvInitialize(&wanted); });
    const stdout_capture unseen;
    if (env_ == nullptr) {
        const counted_scope counted;
        env_ = VemraAppStampEnvInitialize(nullptr);
    }
    _take_crash_handler_off();
    VEMRA_APP_STAMP_CONFIG config{};
    VemraAppStampEnvGetConfiguration(env_, &config);
    seen.outputs = {config.log_directory};
    VemraAppStampFreeMemory(config.log_directory);
    return seen;
}

seen_call live_holdings::env_get_configuration() {
    VEMRA_APP_STAMP_CONFIG config{-1, 0, untouched_text};
    seen_call seen = watched_call([&] { return VemraAppStampEnvGetConfiguration(env_, &config); });
    const stdout_capture unseen;
    seen.outputs = {
        "level " + std::to_string(config.log_level),
        _taken(config.log_directory, static_cast<std::size_t>(config.log_directory_length))};
    return seen;
}

seen_call live_holdings::env_uninitialize() {
    return watched_call([&] { return VemraAppStampEnvUninitialize(env_); });
}

seen_call live_holdings::free_stamps() {
    seen_call seen = watched_call([&] { return VemraAppStampFreeStamps(set_); });
    if (seen.status == VEMRA_APP_STAMP_SUCCESS) set_ = nullptr;
    return seen;
}

seen_call live_holdings::get_stamp_count() {
    unsigned int count = 0;
    seen_call seen = watched_call([&] { return VemraAppStampGetStampCount(set_, &count); });
    seen.outputs = {std::to_string(count)};
    return seen;
}

seen_call live_holdings::get_stamp() {
    unsigned char* uuid = untouched_bytes;
    unsigned int uuid_size = 0;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    seen_call seen = watched_call(
        [&] { return VemraAppStampGetStamp(set_, last_, &uuid, &uuid_size, &record); });
    const stdout_capture unseen;
    seen.outputs = {uuid == nullptr ? "null" : _taken(uuid, uuid_size), "untouched"};
    if (record == nullptr) return seen;
    seen.outputs[1] =
        "type " + std::to_string(record->type) + ", " + _taken(record->name, record->name_length) +
        ", " + std::to_string(record->data_length) +
        " bytes: " + std::string(reinterpret_cast<char*>(record->data), record->data_length);
    VemraAppStampFreeStamp(record);
    return seen;
}

seen_call live_holdings::free_stamp() {
    char* name = record_ == nullptr ? nullptr : record_->name;
    seen_call seen = watched_call([&] { return VemraAppStampFreeStamp(record_); });
    if (seen.status != VEMRA_APP_STAMP_SUCCESS) return seen;
    record_ = nullptr;
    const stdout_capture unseen;
    VemraAppStampFreeMemory(name);
    return seen;
}

seen_call live_holdings::get_stamp_type() {
    int type = 0;
    seen_call seen = watched_call([&] { return VemraAppStampGetStampType(record_, &type); });
    seen.outputs = {std::to_string(type)};
    return seen;
}

seen_call live_holdings::get_stamp_data() {
    unsigned char* bytes = untouched_bytes;
    unsigned long long size = 0;
    const stderr_capture assertions;
    seen_call seen =
        watched_call([&] { return VemraAppStampGetStampData(record_, &bytes, &size); });
    const stdout_capture unseen;
    const std::string said = assertions.text();
    seen.outputs = {_taken(bytes, size), said.substr(0, said.find(", line:"))};
    return seen;
}

seen_call live_holdings::get_stamp_name() {
    char* name = untouched_text;
    unsigned int size = 0;
    seen_call seen = watched_call([&] { return VemraAppStampGetStampName(record_, &name, &size); });
    const stdout_capture unseen;
    seen.outputs = {_taken(name, size)};
    return seen;
}
