#include "support/fake_state.h"

#include <cstdio>

#include "support/allocation_faults.h"

fake_state& the_state() {
    static fake_state* const state = [] {
        const allocation_exemption exemption;
        return new fake_state;
    }();
    return *state;
}

// The test program that counts allocations defines it; another one does without.
extern "C" __attribute__((weak)) void allocation_faults_exempt(int change);

allocation_exemption::allocation_exemption() {
    if (allocation_faults_exempt != nullptr) allocation_faults_exempt(1);
}

allocation_exemption::~allocation_exemption() {
    if (allocation_faults_exempt != nullptr) allocation_faults_exempt(-1);
}

std::optional<fault> fake_state::enter(const char* function,
                                       std::initializer_list<std::string> arguments) {
    std::string line = function;
    line += '(';
    for (const std::string& argument : arguments) {
        if (&argument != arguments.begin()) line += ", ";
        line += argument;
    }
    calls.push_back(line + ')');

    std::optional<fault> due;
    for (scheduled_fault& scheduled : faults) {
        if (!scheduled.function.empty() && scheduled.function != function) continue;
        if (scheduled.calls_until_due > 0) --scheduled.calls_until_due;
        if (scheduled.calls_until_due != 0 || due) continue;
        due = scheduled.what;
        if (!scheduled.what.is_lasting) scheduled.calls_until_due = -1;
    }
    if (due) has_fault_fired = true;
    return due;
}

int fake_state::finish(int status) {
    if (status != 1) last_error = status;
    return status;
}

unsigned char* fake_state::new_buffer(const std::string& name, const std::string& bytes) {
    fake_buffer& buffer = buffers.emplace_back();
    buffer.generation = generation;
    buffer.name = name;
    buffer.bytes.assign(bytes.begin(), bytes.end());
    buffer.bytes.push_back(0);
    return buffer.bytes.data();
}

bool fake_state::is_usable(const fake_handle* handle, const char* function) {
    if (handle == nullptr) return false;
    if (handle->is_live) return true;
    misuses.push_back(std::string(function) + " of the released " + handle->name);
    return false;
}

int fake_state::release(fake_handle* handle, const char* function) {
    if (handle == nullptr) return fake_device_library::bad_handle;
    if (!is_usable(handle, function)) {
        ++double_frees;
        return fake_device_library::bad_handle;
    }
    handle->is_live = false;
    return 1;
}

std::string text(int value) {
    return std::to_string(value);
}

std::string text(const char* value) {
    if (value == nullptr) return "null";
    return '"' + std::string(value) + '"';
}

std::string text(const fake_handle* handle) {
    return handle == nullptr ? "null" : handle->name;
}

std::string text(const VEMRA_PKI_DEVICE_LIST_st* list) {
    return list == nullptr ? "null" : "list";
}

std::string text(const void* bytes, long length) {
    if (bytes == nullptr) return "null";
    if (length <= 0) return "no bytes";
    const auto* from = static_cast<const unsigned char*>(bytes);
    std::string result;
    for (long i = 0; i < (length > 64 ? 8 : length); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), i == 0 ? "%02x" : " %02x", from[i]);
        result += digits;
    }
    return length > 64 ? result + " .." : result;
}
